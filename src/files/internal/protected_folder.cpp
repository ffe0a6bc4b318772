#include "files/internal/protected_folder.h"

#include "winconv/error_text.h"
#include "winconv/owned.h"

#include <windows.h>

#include <sddl.h>

namespace Files {

namespace {

using SecurityDescriptor = WinConv::Owned<PSECURITY_DESCRIPTOR, LocalFree>;

} // namespace

std::error_code create_protected_folder(const std::filesystem::path& folder) {
    // Full control for the system, administrators and the owner (OW, "owner rights"); read access for users.
    constexpr auto rights = L"D:P(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)(A;OICI;FA;;;OW)(A;OICI;FRFX;;;BU)";
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor, nullptr) == 0) {
        return WinConv::last_error();
    }
    const SecurityDescriptor owner(descriptor);
    SECURITY_ATTRIBUTES security{sizeof security, descriptor, FALSE};
    return CreateDirectoryW(folder.c_str(), &security) != 0 ? std::error_code() : WinConv::last_error();
}

} // namespace Files
