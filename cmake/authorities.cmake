# Embeds the certificates of the two authorities as constant data.

# Git for Windows includes one.
find_program(CORVEL_OPENSSL openssl HINTS "$ENV{ProgramFiles}/Git/usr/bin" REQUIRED)

# corvel_add_authorities(TARGET RELEASE DEVELOPER): the library corvel::TARGET with the data that
# src/crypto_win32/internal/authorities.h declares. The build may generate the two files.
function(corvel_add_authorities target release developer)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/generated/${target}.cpp)
  set(script ${PROJECT_SOURCE_DIR}/cmake/embed_authorities.cmake)
  add_custom_command(OUTPUT ${source}
    COMMAND ${CMAKE_COMMAND} -D OPENSSL=${CORVEL_OPENSSL} -D RELEASE=${release} -D DEVELOPER=${developer}
            -D OUTPUT=${source} -P ${script}
    DEPENDS ${release} ${developer} ${script}
    COMMENT "Embedding the authorities of ${target}" VERBATIM)
  add_library(${target} STATIC ${source})
  add_library(corvel::${target} ALIAS ${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE corvel::compiler)
endfunction()
