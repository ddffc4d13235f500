# Runs PROGRAM and fails unless GUIDE quotes the text of SOURCE, and later what the program prints. With FAULTS the program
# reports an access violation on its standard error stream, which is empty otherwise.
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE error TIMEOUT 300)
if(FAULTS AND error MATCHES "ACCESS_VIOLATION.*Report file created")
    set(error "")
endif()
if(NOT result EQUAL 0 OR NOT error STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} ended with ${result}:\n${error}")
endif()
string(REPLACE "\r\n" "\n" output "${output}") # of the C library's text streams on Windows
file(READ ${GUIDE} guide)
file(READ ${SOURCE} source)
string(FIND "${guide}" "```cpp\n${source}```\n" sourcePosition)
string(FIND "${guide}" "```text\n${output}```\n" position REVERSE)
if(sourcePosition EQUAL -1 OR position LESS sourcePosition)
    message(FATAL_ERROR "${GUIDE} does not quote ${SOURCE} and what it prints:\n${output}")
endif()
