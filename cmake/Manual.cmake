# driftwell_manual(TARGET COMPONENT DESCRIPTION): the manual page of a program, made of what it says of itself with --help.
# Only packages have them.
function(driftwell_manual target component description)
  if(NOT DRIFTWELL_PACKAGES)
    return()
  endif()
  find_program(HELP2MAN help2man REQUIRED)
  set(page ${CMAKE_CURRENT_BINARY_DIR}/${target}.1)
  add_custom_command(OUTPUT ${page}
    COMMAND ${HELP2MAN} --no-info --section=1 --name=${description} --version-string=${DRIFTWELL_VERSION}
            --source=Driftwell --include=${CMAKE_SOURCE_DIR}/packaging/${target}.man --output=${page}
            $<TARGET_FILE:${target}>
    DEPENDS ${target} ${CMAKE_SOURCE_DIR}/packaging/${target}.man
    VERBATIM)
  driftwell_install_manual(${page} ${component})
endfunction()

# driftwell_install_manual(PAGE COMPONENT): the page, made by a command of the build, compressed as Debian has it.
function(driftwell_install_manual page component)
  driftwell_compress(${page} compressed)
  install(FILES ${compressed} DESTINATION share/man/man1 COMPONENT ${component})
endfunction()

# driftwell_compress(FILE RESULT): RESULT is the name of the file compressed without its name and time.
function(driftwell_compress file result)
  get_filename_component(name ${file} NAME)
  add_custom_command(OUTPUT ${file}.gz COMMAND gzip -9 -n -k -f ${file} DEPENDS ${file} VERBATIM)
  add_custom_target(compressed-${name} ALL DEPENDS ${file}.gz)
  set(${result} ${file}.gz PARENT_SCOPE)
endfunction()
