# Programs, their installation, and what they print.

# infrastructure_program(NAME LIBRARIES LIBRARY ... [SOURCES SOURCE ...] [COMPONENT COMPONENT]): the
# program NAME from NAME.cpp, which uses only public headers; it is installed as a tool, with its manual
# page, unless it belongs to another component.
function(infrastructure_program name)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "COMPONENT" "SOURCES;LIBRARIES")
  add_executable(${name} ${name}.cpp ${ARG_SOURCES})
  infrastructure_flags(${name})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES})
  infrastructure_install_tool(${name} ${ARG_COMPONENT})
endfunction()

# infrastructure_expect(TEST EXPECTED): the test passes if what it prints matches EXPECTED and holds no
# sanitizer's report, which must be looked for because the exit value does not count then.
function(infrastructure_expect test expected)
  set_tests_properties(${test} PROPERTIES PASS_REGULAR_EXPRESSION "${expected}"
                                          FAIL_REGULAR_EXPRESSION "Sanitizer;runtime error:" TIMEOUT
                                          300)
endfunction()

# infrastructure_program_test(PROGRAM CASE EXPECTED [WORD ...]): what PROGRAM prints for the words
# matches the regular expression EXPECTED.
function(infrastructure_program_test program case expected)
  if(INFRASTRUCTURE_BUILD_TESTS)
    set(test program.${program}.${case})
    add_test(NAME ${test} COMMAND ${program} ${ARGN})
    infrastructure_expect(${test} "${expected}")
  endif()
endfunction()
