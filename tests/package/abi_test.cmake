# The binary interface of the built library is the one that lx.abi describes: functions, parameters, layout of records.
#
#   cmake -DABIDIFF=... -DREADELF=... -DLIBRARY=... -P abi_test.cmake

# Without types there would be nothing to compare but names, and no difference.
execute_process(COMMAND ${READELF} -S ${LIBRARY} OUTPUT_VARIABLE sections COMMAND_ERROR_IS_FATAL ANY)
if(NOT sections MATCHES "\\.debug_info")
    message(FATAL_ERROR "${LIBRARY} has no debug information")
endif()

# Changes that the tool holds for harmless are changes too.
execute_process(
    COMMAND ${ABIDIFF} --harmless --exported-interfaces-only ${CMAKE_CURRENT_LIST_DIR}/lx.abi ${LIBRARY}
    OUTPUT_VARIABLE report ERROR_VARIABLE report RESULT_VARIABLE result)
if(NOT result STREQUAL "0" OR NOT report STREQUAL "")
    message("${report}")
    message(FATAL_ERROR "The binary interface has changed. Programs that are linked with the library go by it: take "
                        "the change back, or, if something has only been added, run scripts/describe-abi.")
endif()
