# corvel_add_delayed_library(DLL): the target corvel::delayed_DLL links a system library that is loaded at the first call
# of one of its functions, by when the search is confined to System32. At start-up Windows would take a file of its name
# beside the executable, unless it counts it among its known libraries; only Windows 10 1607 and later can be told not
# to, by /DEPENDENTLOADFLAG. And no command needs them all. With GNU compilers, delayed/DLL.def lists the functions.
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
  # The symbols in it are named after the path that is given here.
  add_custom_command(OUTPUT ${library}
    COMMAND ${CMAKE_DLLTOOL} --input-def ${definition} --output-delaylib lib${dll}_delayed.a
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR} DEPENDS ${definition} VERBATIM)
  add_custom_target(${target}_file DEPENDS ${library})
  add_dependencies(${target} ${target}_file)
  target_link_libraries(${target} INTERFACE ${library})
endfunction()
