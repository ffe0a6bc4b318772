# The compile and link options: of everything that is compiled in, and as the target corvel::compiler those of the
# project's own code.
add_library(corvel_compiler INTERFACE)
add_library(corvel::compiler ALIAS corvel_compiler)

# The lowest Windows that the tool runs on: 7 SP1 and Server 2008 R2.
add_compile_definitions($<$<COMPILE_LANGUAGE:C,CXX>:_WIN32_WINNT=0x0601>)

if(MSVC)
  # The manifest stands in the resource file; libraries named in the import table come from System32 only.
  target_compile_options(corvel_compiler INTERFACE /W4 /WX /permissive- /utf-8 /guard:cf)
  target_link_options(corvel_compiler INTERFACE /MANIFEST:NO /DEPENDENTLOADFLAG:0x800 /guard:cf /CETCOMPAT)
  return()
endif()

# No path of the build machine in the executable.
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong;-ffunction-sections;-fdata-sections;\
-ffile-prefix-map=${CMAKE_SOURCE_DIR}/=;-ffile-prefix-map=${CMAKE_BINARY_DIR}/=>")
target_compile_options(corvel_compiler INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror>)
# Without the terminal-server bit, each user of such a server has a Windows directory of their own. The linker's time
# stamp would make two builds of one source differ.
target_link_options(corvel_compiler INTERFACE -Wl,--gc-sections -Wl,--nxcompat
  -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--tsaware -Wl,--no-insert-timestamp)
if(CORVEL_CHECKED)
  target_compile_options(corvel_compiler INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS>)
endif()
