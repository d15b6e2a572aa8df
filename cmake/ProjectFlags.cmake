# infrastructure_flags(TARGET): the language level, warnings and sanitizers that every target of
# this project is built with. Nothing here reaches those who link the library.
function(infrastructure_flags target)
  target_compile_features(${target} PRIVATE cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
  if(INFRASTRUCTURE_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  target_compile_definitions(${target} PRIVATE QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
                                               QT_DEPRECATED_WARNINGS)
  if(INFRASTRUCTURE_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${INFRASTRUCTURE_SANITIZE}
                                             -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      # GCC's own warning says that the sanitizers lead it to false ones.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
    target_link_options(${target} PRIVATE -fsanitize=${INFRASTRUCTURE_SANITIZE})
  endif()
endfunction()
