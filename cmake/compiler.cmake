# Sets the compile options for all code, including the libraries, and defines the target corvel::compiler with the
# compile and link options for the project's own code.
add_library(corvel_compiler INTERFACE)
add_library(corvel::compiler ALIAS corvel_compiler)

# The lowest Windows that the tool runs on: 7 SP1 and Server 2008 R2.
add_compile_definitions($<$<COMPILE_LANGUAGE:C,CXX>:_WIN32_WINNT=0x0601>)

if(NOT CMAKE_SIZEOF_VOID_P EQUAL 8)
  message(FATAL_ERROR "The compiler builds for another architecture than x64, the only one that is supported")
endif()

# Every configuration except Debug.
set(not_debug $<NOT:$<CONFIG:Debug>>)

# corvel_split_symbols(TARGET): moves the symbols of a release into a separate file for the debugger.
function(corvel_split_symbols target)
  if(MSVC)
    return()
  endif()
  set(file $<TARGET_FILE:${target}>)
  # Without this, both tools write the current time into the header.
  set(at_no_time "${CMAKE_COMMAND};-E;env;SOURCE_DATE_EPOCH=0")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND "$<${not_debug}:${at_no_time};${CMAKE_OBJCOPY};--only-keep-debug;${file};${file}.debug>"
    COMMAND "$<${not_debug}:${at_no_time};${CMAKE_STRIP};${file}>"
    COMMAND "$<${not_debug}:${at_no_time};${CMAKE_OBJCOPY};--add-gnu-debuglink=${file}.debug;${file}>"
    COMMAND_EXPAND_LISTS VERBATIM)
endfunction()

# corvel_hide_folder(FOLDER NAME): replaces a path of the build machine with NAME in releases.
function(corvel_hide_folder folder name)
  if(NOT MSVC)
    add_compile_options("$<$<AND:${not_debug},$<COMPILE_LANGUAGE:C,CXX>>:-ffile-prefix-map=${folder}=${name}>")
  endif()
endfunction()

if(MSVC)
  add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:/utf-8;/guard:cf;/Zi>")
  target_compile_options(corvel_compiler INTERFACE
    "$<$<COMPILE_LANGUAGE:CXX>:/W4;/WX;/permissive-;/Zc:preprocessor;/Zc:__cplusplus;/EHsc>")
  # The manifest is in the resource file. /DEPENDENTLOADFLAG:0x800 loads imported DLLs from System32 only.
  target_link_options(corvel_compiler INTERFACE
    /MANIFEST:NO /DEPENDENTLOADFLAG:0x800 /guard:cf /CETCOMPAT /DEBUG "$<${not_debug}:/OPT:REF;/OPT:ICF>")
  return()
endif()

add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong;-ffunction-sections;-fdata-sections>")
# Line numbers for the debugger, but no path of the build machine.
add_compile_options("$<$<AND:${not_debug},$<COMPILE_LANGUAGE:C,CXX>>:-g1>")
corvel_hide_folder(${CMAKE_SOURCE_DIR} .)
corvel_hide_folder(${CMAKE_BINARY_DIR} .)
target_compile_options(corvel_compiler INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror>)
# Without --tsaware, GetWindowsDirectory returns a private folder for each user of a terminal server. Without
# --no-insert-timestamp, two builds of the same source would differ.
target_link_options(corvel_compiler INTERFACE -Wl,--gc-sections -Wl,--nxcompat
  -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--tsaware -Wl,--no-insert-timestamp)
if(CORVEL_CHECKED)
  # -O1 compiles in two thirds of the time and performs the same checks.
  target_compile_options(corvel_compiler INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS -O1>)
endif()
