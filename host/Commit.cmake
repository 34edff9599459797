# Writes RESULT, a header with the commit of the files in SOURCES, if that has changed.
set(commit unknown)
find_program(GIT git)
if(GIT AND EXISTS ${SOURCES}/.git)
    execute_process(COMMAND ${GIT} -C ${SOURCES} describe --always --dirty --abbrev=12 --exclude=*
        OUTPUT_VARIABLE described RESULT_VARIABLE status ERROR_QUIET
        OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(status EQUAL 0)
        set(commit ${described})
    endif()
endif()
file(CONFIGURE OUTPUT ${RESULT} CONTENT "#define DAS_COMMIT \"${commit}\"\n")
