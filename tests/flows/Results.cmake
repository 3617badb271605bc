# Compares what the program results writes with what is expected, byte for byte.
execute_process(COMMAND ${EMULATOR} "${PROGRAM}" results.written.txt COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files results.written.txt "${EXPECTED}" RESULT_VARIABLE differs)
if(differs)
    message(FATAL_ERROR "results.written.txt, in the folder of the test, is not ${EXPECTED}")
endif()
