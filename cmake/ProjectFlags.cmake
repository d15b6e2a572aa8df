# infrastructure_flags(TARGET): the language level, warnings and sanitizers that every target of
# this project is built with. None of this is passed on to those who link the libraries.
function(infrastructure_flags target)
  target_compile_features(${target} PRIVATE cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(INFRASTRUCTURE_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
                                               QT_DEPRECATED_WARNINGS)
  # On 32-bit machines too: files beyond 2 GiB, and file systems with 64-bit inode numbers.
  target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64)
  if(INFRASTRUCTURE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${INFRASTRUCTURE_SANITIZE}
                                             -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      # With sanitizers this warning has false positives, as GCC's manual says.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    target_link_options(${target} PRIVATE -fsanitize=${INFRASTRUCTURE_SANITIZE})
  endif()
endfunction()

# infrastructure_precompile(TARGET HEADER ...): the headers are read once for all sources of TARGET. A
# source still includes what it uses; the header check, which precompiles nothing, sees to that.
function(infrastructure_precompile target)
  target_precompile_headers(${target} PRIVATE ${ARGN})
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${target} PRIVATE -fpch-preprocess) # for the compiler cache
  endif()
endfunction()

# infrastructure_runnable(OUT TARGET): what a shell or script starts to run TARGET: the program itself
# or, if it is built for another machine, a script that starts it in the emulator.
function(infrastructure_runnable out target)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    set(${out} $<TARGET_FILE:${target}> PARENT_SCOPE)
    return()
  endif()
  get_property(script GLOBAL PROPERTY infrastructure_emulated_${target})
  if(NOT script)
    set(script ${CMAKE_CURRENT_BINARY_DIR}/emulated_${target})
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
    file(GENERATE OUTPUT ${script}
         CONTENT "#!/bin/sh\nexec '${emulator}' '$<TARGET_FILE:${target}>' \"$@\"\n"
         FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    set_property(GLOBAL PROPERTY infrastructure_emulated_${target} ${script})
  endif()
  set(${out} ${script} PARENT_SCOPE)
endfunction()
