# Run by CPack after the install into its staging folder, before the package is made: strips
# the programs as Debian's own packaging does, removing the symbols and the compiler's .comment
# and .note sections, which a program does not need at run time.
file(GLOB programs ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/bin/*)
foreach(program IN LISTS programs)
  execute_process(
    COMMAND ${CPACK_DUSTWHALE_STRIP} --remove-section=.comment --remove-section=.note ${program}
    RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "Could not strip ${program}")
  endif()
endforeach()
if(NOT programs)
  message(FATAL_ERROR "No programs to strip in ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/bin")
endif()
