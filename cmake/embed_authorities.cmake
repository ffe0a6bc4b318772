# cmake -D OPENSSL=PROGRAM -D RELEASE=FILE -D DEVELOPER=FILE -D OUTPUT=FILE -P embed_authorities.cmake
#
# Writes a source file that contains two certificates, PEM or DER, as constant data.
cmake_minimum_required(VERSION 3.25)

# Sets ${result} to the certificate's bytes as the elements of an array.
function(certificate_bytes file result)
  execute_process(COMMAND ${OPENSSL} x509 -in ${file} -outform DER -out ${OUTPUT}.der
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE error)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${file} holds no complete certificate in PEM or DER form\n${error}")
  endif()
  file(READ ${OUTPUT}.der hex HEX)
  file(REMOVE ${OUTPUT}.der)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " bytes "${hex}")
  string(REGEX REPLACE "(0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x.., 0x..,) " "\\1\n    "
    bytes "${bytes}")
  set(${result} "${bytes}" PARENT_SCOPE)
endfunction()

certificate_bytes(${RELEASE} release)
certificate_bytes(${DEVELOPER} developer)
file(WRITE ${OUTPUT} "#include \"crypto_win32/internal/authorities.h\"

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
