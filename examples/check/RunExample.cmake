# Runs an example and checks that it ends with status 0 and that its output
# matches EXPECT. With LOGS, one of the files that the glob LOGS names must
# match LOG_EXPECT too; their directory is emptied first. EMULATOR and ARGS are lists separated by '|'
# (EMULATOR empty natively).
string(REPLACE "|" ";" emulator "${EMULATOR}")
string(REPLACE "|" ";" arguments "${ARGS}")
if(DEFINED LOGS) # no file of an earlier run may pass for this one's
  get_filename_component(logDirectory "${LOGS}" DIRECTORY)
  file(REMOVE_RECURSE "${logDirectory}")
endif()
execute_process(COMMAND ${emulator} ${PROGRAM} ${arguments}
                OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} failed (${status}):\n${output}${errors}")
endif()
if(NOT output MATCHES "${EXPECT}")
  message(FATAL_ERROR "no match for '${EXPECT}' in the output:\n${output}${errors}")
endif()
if(DEFINED LOGS)
  file(GLOB logs ${LOGS})
  foreach(log IN LISTS logs)
    file(READ ${log} text)
    if(text MATCHES "${LOG_EXPECT}")
      return()
    endif()
  endforeach()
  message(FATAL_ERROR "no match for '${LOG_EXPECT}' in the log files '${logs}'")
endif()
