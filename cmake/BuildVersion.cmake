# Run at each build: writes BuildVersion.h from its template, but only if something has changed.
# Takes SOURCE_DIR, TEMPLATE, OUTPUT and the BUILD_ values that are known when CMake configures.
find_program(GIT_PROGRAM git)

# git_value(NAME WORDS ...): what git says, or "Unknown".
function(git_value name)
  set(text "")
  if(GIT_PROGRAM)
    execute_process(COMMAND ${GIT_PROGRAM} ${ARGN} WORKING_DIRECTORY ${SOURCE_DIR}
                    OUTPUT_VARIABLE text ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
  if(text STREQUAL "")
    set(text Unknown)
  endif()
  set(${name} "${text}" PARENT_SCOPE)
endfunction()

git_value(BUILD_SHA1 rev-parse --verify HEAD)
git_value(BUILD_BRANCH rev-parse --abbrev-ref HEAD)
if(NOT BUILD_ID)
  git_value(BUILD_ID rev-list --count HEAD)
endif()
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
