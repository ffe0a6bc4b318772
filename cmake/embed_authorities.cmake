# cmake -D RELEASE=FILE -D DEVELOPER=FILE -D OUTPUT=FILE -P embed_authorities.cmake
#
# Writes the source that holds two certificates, PEM or DER, as constant data.
cmake_minimum_required(VERSION 3.25)

# Sets ${result} to the bytes of a base64 text, in hexadecimal.
function(decode_base64 text result)
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(REGEX REPLACE "[^A-Za-z0-9+/]" "" text "${text}")
  string(REGEX MATCHALL "." digits "${text}")
  set(hex "")
  set(bits 0)
  set(count 0)
  foreach(digit IN LISTS digits)
    string(FIND ${alphabet} ${digit} value)
    math(EXPR bits "(${bits} << 6 | ${value}) & 0xFFFF")
    math(EXPR count "${count} + 6")
    if(count GREATER_EQUAL 8)
      math(EXPR count "${count} - 8")
      math(EXPR byte "${bits} >> ${count} & 0xFF | 0x100" OUTPUT_FORMAT HEXADECIMAL)
      string(SUBSTRING ${byte} 3 2 byte)
      string(APPEND hex ${byte})
    endif()
  endforeach()
  set(${result} ${hex} PARENT_SCOPE)
endfunction()

# Sets ${result} to the certificate's bytes as elements of an array.
function(certificate_bytes file result)
  file(READ ${file} content)
  if(content MATCHES "-----BEGIN CERTIFICATE-----([A-Za-z0-9+/=\r\n]+)-----END CERTIFICATE-----")
    decode_base64("${CMAKE_MATCH_1}" hex)
  else()
    file(READ ${file} hex HEX)
  endif()
  if(NOT hex MATCHES "^30")
    message(FATAL_ERROR "${file} is no certificate in PEM or DER form")
  endif()
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " bytes "${hex}")
  string(REGEX REPLACE "(0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x..,) " "\\1\n    "
    bytes "${bytes}")
  set(${result} "${bytes}" PARENT_SCOPE)
endfunction()

certificate_bytes(${RELEASE} release)
certificate_bytes(${DEVELOPER} developer)
file(WRITE ${OUTPUT} "#include \"crypto_win32/authorities.h\"

namespace Crypto {

static constexpr unsigned char release_der[] = {
    ${release}
};
const std::span<const unsigned char> release_ca = release_der;

static constexpr unsigned char developer_der[] = {
    ${developer}
};
const std::span<const unsigned char> developer_ca = developer_der;

} // namespace Crypto
")
