# Writes the checkout's commit identifier (seven characters) into a header at every build. The header is touched only
# when the identifier changes. A source folder that is not the top of a git checkout gives seven zeros: a checkout that
# merely contains a copy of the sources says nothing about them.
#
#   cmake -DSOURCE_DIR=... -DTEMPLATE=... -DOUTPUT=... -P CommitHash.cmake
set(COMMIT_HASH 0000000)
find_program(GIT_COMMAND git)
if(GIT_COMMAND)
  # The checkout may belong to another user; git refuses it unless it is declared safe.
  set(git ${GIT_COMMAND} -c safe.directory=* -C ${SOURCE_DIR})
  execute_process(COMMAND ${git} rev-parse --show-toplevel HEAD
                  OUTPUT_VARIABLE answer ERROR_QUIET RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(status EQUAL 0 AND answer MATCHES "^(.*)\n([0-9a-f]+)$")
    set(commit ${CMAKE_MATCH_2})
    get_filename_component(top ${CMAKE_MATCH_1} REALPATH)
    get_filename_component(source ${SOURCE_DIR} REALPATH)
    if(top STREQUAL source)
      string(SUBSTRING ${commit} 0 7 COMMIT_HASH)
    endif()
  endif()
endif()
configure_file(${TEMPLATE} ${OUTPUT} @ONLY)
