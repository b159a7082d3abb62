# Gives everything in the package the time that SOURCE_DATE_EPOCH (reproducible-builds.org) names, so that two builds of
# the same source make the same bytes.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(
        COMMAND find . -exec touch --no-dereference --date=@$ENV{SOURCE_DATE_EPOCH} {} +
        WORKING_DIRECTORY "${CPACK_TEMPORARY_INSTALL_DIRECTORY}"
        COMMAND_ERROR_IS_FATAL ANY)
endif()
