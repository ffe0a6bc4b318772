#include "fakes/imports.h"

CORVEL_FAKED_IMPORTS(CORVEL_DEFINE_FAKE)

// This one is not imported but linked, so that its calls are wrapped themselves.
namespace Fakes {
Fake<decltype(::SHGetKnownFolderPath)> SHGetKnownFolderPath;
} // namespace Fakes

extern "C" {
HRESULT WINAPI __real_SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path);
HRESULT WINAPI __wrap_SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) {
    return Fakes::SHGetKnownFolderPath.applies() ? Fakes::SHGetKnownFolderPath.replacement(folder, flags, token, path)
                                                 : __real_SHGetKnownFolderPath(folder, flags, token, path);
}
}
