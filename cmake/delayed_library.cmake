# corvel_add_delayed_library(DLL): the target corvel::delayed_DLL links a system library that is loaded when one of its
# functions is first called. By then the DLL search is restricted to System32. At start-up, Windows would prefer a file
# of that name in the executable's folder, unless the DLL is one of its known DLLs; only from Windows 10 1607 on does
# /DEPENDENTLOADFLAG prevent that. Besides, no command needs all of these libraries. With GNU compilers, delayed/DLL.def
# lists the functions.
function(corvel_add_delayed_library dll)
  set(target corvel_delayed_${dll})
  add_library(${target} INTERFACE)
  add_library(corvel::delayed_${dll} ALIAS ${target})
  if(MSVC)
    target_link_libraries(${target} INTERFACE ${dll} delayimp)
    target_link_options(${target} INTERFACE /DELAYLOAD:${dll}.dll)
    return()
  endif()
  set(definition ${PROJECT_SOURCE_DIR}/cmake/delayed/${dll}.def)
  set(library ${PROJECT_BINARY_DIR}/lib${dll}_delayed.a)
  # dlltool derives the names of symbols from this path, so it must not depend on the build folder.
  add_custom_command(OUTPUT ${library}
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition} --output-delaylib lib${dll}_delayed.a
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR} DEPENDS ${definition} VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
