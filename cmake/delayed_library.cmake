# corvel_add_delayed_library(TARGET DLL): links a system library that Windows does not count among its known ones, so
# that a file of its name beside the executable would be loaded instead at start-up. It is loaded at the first call of
# one of the functions in DLL.def, by when the search is confined to System32.
function(corvel_add_delayed_library target dll)
  add_library(${target} INTERFACE)
  if(MSVC)
    # /DEPENDENTLOADFLAG confines the search for every imported library.
    target_link_libraries(${target} INTERFACE ${dll})
    return()
  endif()
  set(definition ${PROJECT_SOURCE_DIR}/cmake/${dll}.def)
  set(library ${PROJECT_BINARY_DIR}/lib${dll}_delayed.a)
  add_custom_command(OUTPUT ${library}
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition} --output-delaylib ${library}
    DEPENDS ${definition} VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
