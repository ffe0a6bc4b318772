// Prints how many milliseconds it takes to open the system's store of root certificates and to enumerate it, and the
// number of certificates.

#include <windows.h>

#include <wincrypt.h>

#include <chrono>
#include <cstdio>

int main() {
    const auto start = std::chrono::steady_clock::now();
    HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    int count = 0;
    for (PCCERT_CONTEXT certificate = nullptr;
         (certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr;) {
        ++count;
    }
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    CertCloseStore(store, 0);
    std::printf("%.1f %d\n", elapsed.count(), count);
    return 0;
}
