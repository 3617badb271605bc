# cmake -DBUILD=... -DSTAGE=... -DCONFIG=... -P Stage.cmake
# Installs component by component, sees that this is all there is to install, and moves it: the package in STAGE/prefix
# is not where it was installed.
file(REMOVE_RECURSE "${STAGE}")
function(put into)
    execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${into}" --config "${CONFIG}" ${ARGN}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()
# Both to the same place, for some files are named after it.
foreach(component IN ITEMS runtime development tools documentation)
    put("${STAGE}/made" --component ${component})
endforeach()
file(RENAME "${STAGE}/made" "${STAGE}/prefix")
put("${STAGE}/made")

file(GLOB_RECURSE parts RELATIVE "${STAGE}/prefix" "${STAGE}/prefix/*")
file(GLOB_RECURSE whole RELATIVE "${STAGE}/made" "${STAGE}/made/*")
list(REMOVE_ITEM whole ${parts})
if(whole)
    message(FATAL_ERROR "in no component: ${whole}")
endif()
