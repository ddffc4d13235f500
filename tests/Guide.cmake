# Runs PROGRAM and fails unless GUIDE quotes the text of SOURCE, followed by what the program prints.
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error TIMEOUT 60)
if(NOT result EQUAL 0 OR NOT error STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} ended with ${result}:\n${error}")
endif()
string(REPLACE "\r\n" "\n" output "${output}") # of the C library's text streams on Windows
file(READ ${GUIDE} guide)
file(READ ${SOURCE} source)
string(FIND "${guide}" "```cpp\n${source}```\n\n```text\n${output}```\n" position)
if(position EQUAL -1)
    message(FATAL_ERROR "${GUIDE} does not quote ${SOURCE} and what it prints:\n${output}")
endif()
