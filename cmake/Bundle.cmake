# The bundle: a relocatable tree Driftwell/Contents/… with the same shape in the build folder and where it is installed.
set(DRIFTWELL_BUNDLE ${CMAKE_BINARY_DIR}/Driftwell)
set(DRIFTWELL_HELPERS ${DRIFTWELL_BUNDLE}/Contents/Helpers)

# Where it is installed, below the prefix. Each file belongs to one component of the installation: "application", "desktop"
# (what menus show of it), "cli" (the information dictionary among it, which the tool reads too) or "sandbox".
set(DRIFTWELL_INSTALLED_BUNDLE Driftwell)
if(DRIFTWELL_PACKAGES)
  set(DRIFTWELL_INSTALLED_BUNDLE lib/driftwell/Driftwell)
endif()

# An option that is not set is null in the information dictionary.
foreach(option CONFIG_DIR FEED_URL)
  set(DRIFTWELL_${option}_JSON null)
  if(DRIFTWELL_${option})
    set(DRIFTWELL_${option}_JSON "\"${DRIFTWELL_${option}}\"")
  endif()
endforeach()
configure_file(${CMAKE_SOURCE_DIR}/cmake/Info.json.in ${DRIFTWELL_BUNDLE}/Contents/Info.json @ONLY)
install(FILES ${DRIFTWELL_BUNDLE}/Contents/Info.json DESTINATION ${DRIFTWELL_INSTALLED_BUNDLE}/Contents COMPONENT cli)

# driftwell_program(TARGET FOLDER COMPONENT): a program that lives in Contents/FOLDER, with a link to it in the build
# folder's bin/.
function(driftwell_program target folder component)
  set(place ${DRIFTWELL_BUNDLE}/Contents/${folder})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${place})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/bin
    COMMAND ${CMAKE_COMMAND} -E create_symlink ${place}/$<TARGET_FILE_NAME:${target}>
            ${CMAKE_BINARY_DIR}/bin/$<TARGET_FILE_NAME:${target}>
    VERBATIM)
  install(TARGETS ${target} RUNTIME DESTINATION ${DRIFTWELL_INSTALLED_BUNDLE}/Contents/${folder}
          COMPONENT ${component})
endfunction()

# driftwell_command(TARGET FOLDER COMPONENT): the program is found on the search path.
function(driftwell_command target folder component)
  set(link ${CMAKE_CURRENT_BINARY_DIR}/link/${target})
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/link)
  file(CREATE_LINK ../${DRIFTWELL_INSTALLED_BUNDLE}/Contents/${folder}/${target} ${link} SYMBOLIC)
  install(FILES ${link} DESTINATION bin COMPONENT ${component})
endfunction()
