// Adds a certificate (DER) to the system's root certificates: add_root FILE

#include <windows.h>

#include <wincrypt.h>

#include <cstdio>
#include <vector>

int wmain(int count, wchar_t** arguments) {
    std::FILE* const file = count == 2 ? _wfopen(arguments[1], L"rb") : nullptr;
    if (file == nullptr) {
        return 1;
    }
    std::vector<BYTE> der(16384);
    der.resize(std::fread(der.data(), 1, der.size(), file));
    std::fclose(file);
    HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    const BOOL added = CertAddEncodedCertificateToStore(
        store, X509_ASN_ENCODING, der.data(), static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING, nullptr);
    return CertCloseStore(store, 0) != 0 && added != 0 ? 0 : 1;
}
