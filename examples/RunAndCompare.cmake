# cmake -DPROGRAM=... -DEXPECTED=... [-DEMULATOR=...] -P RunAndCompare.cmake: fails unless PROGRAM succeeds and prints
# EXPECTED's text. EMULATOR is a list: what runs programs of another system, and its arguments.
execute_process(COMMAND ${EMULATOR} "${PROGRAM}" OUTPUT_VARIABLE printed RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
foreach(_text IN ITEMS printed expected)
    string(REPLACE "\r\n" "\n" ${_text} "${${_text}}")
endforeach()
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ended with ${result}")
elseif(NOT printed STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${printed}")
endif()
