# cmake -DPROGRAM=... -DEXPECTED=... -P RunAndCompare.cmake: fails unless PROGRAM succeeds and prints EXPECTED's text.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE printed RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ended with ${result}")
elseif(NOT printed STREQUAL expected)
    message(FATAL_ERROR "expected:\n${expected}\nprinted:\n${printed}")
endif()
