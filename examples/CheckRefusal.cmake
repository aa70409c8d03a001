# A program that is given bad input says one sentence about it and ends with exit code 2.
# Usage: cmake -D PROGRAM=FILE -D INPUT=FILE -D SENTENCE=REGEX -P CheckRefusal.cmake
execute_process(COMMAND ${PROGRAM} ${INPUT} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result STREQUAL "2" OR NOT output MATCHES "${SENTENCE}")
    message(FATAL_ERROR "expected exit code 2 and \"${SENTENCE}\", got ${result} and: ${output}")
endif()
message("${output}")
