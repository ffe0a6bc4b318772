# The compile and link options of the project's own code, as the target corvel_compiler.
add_library(corvel_compiler INTERFACE)

if(MSVC)
  # The manifest stands in the resource file; libraries named in the import table come from System32 only.
  target_compile_options(corvel_compiler INTERFACE /W4 /WX /permissive- /utf-8 /guard:cf)
  target_link_options(corvel_compiler INTERFACE /MANIFEST:NO /DEPENDENTLOADFLAG:0x800 /guard:cf /CETCOMPAT)
else()
  target_compile_options(corvel_compiler INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    -fstack-protector-strong -ffunction-sections -fdata-sections>)
  # Without the terminal-server bit, each user of such a server has a Windows directory of their own. The linker's time
  # stamp would make two builds of one source differ.
  target_link_options(corvel_compiler INTERFACE -Wl,--gc-sections -Wl,--nxcompat
    -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--tsaware -Wl,--no-insert-timestamp)
  # No path of the build machine in the executable.
  foreach(folder ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR} ${CORVEL_QUILL_INCLUDE} ${CORVEL_FMT_INCLUDE}
                 ${CORVEL_JSON_INCLUDE})
    target_compile_options(corvel_compiler INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${folder}/=>)
  endforeach()
  if(CORVEL_CHECKED)
    target_compile_options(corvel_compiler INTERFACE
      $<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS>)
  endif()
endif()
