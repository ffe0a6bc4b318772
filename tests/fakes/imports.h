#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "fakes/fake.h"

#include <io.h>
#include <iphlpapi.h>
#include <oleauto.h>
#include <rpc.h>
#include <sddl.h>
#include <shlobj.h>
#include <wincrypt.h>
#include <winhttp.h>
#include <winsvc.h>

#include <algorithm>
#include <string>

// X(function) for each import that tests replace; tests/CMakeLists.txt tells the linker from the same list.
// clang-format off
#define CORVEL_FAKED_IMPORTS(X) \
    X(CertAddCertificateContextToStore) X(CertAddStoreToCollection) X(CertCloseStore) \
    X(CertCreateCertificateChainEngine) X(CertCreateCertificateContext) X(CertFreeCertificateChain) \
    X(CertGetCertificateChain) X(CertNameToStrW) X(CertOpenStore) X(CertOpenSystemStoreW) X(ChangeServiceConfig2W) \
    X(CloseEventLog) X(CloseHandle) X(CloseServiceHandle) X(CoCreateInstance) X(CoInitializeEx) X(CoSetProxyBlanket) \
    X(ControlService) X(ConvertStringSecurityDescriptorToSecurityDescriptorW) X(CreateDirectoryW) X(CreateFileW) \
    X(CreateMutexA) X(CreateProcessW) X(CryptGetMessageSignerCount) X(CryptVerifyDetachedMessageSignature) \
    X(DeleteFileW) X(DeregisterEventSource) X(GetAddrInfoW) X(GetEnvironmentVariableW) \
    X(GetFileAttributesW) X(GetFileInformationByHandle) X(GetFullPathNameW) X(GetModuleHandleExW) \
    X(GetNativeSystemInfo) X(GetProcAddress) X(GetProductInfo) X(GetTempPathW) X(GetTickCount) \
    X(GetWindowsDirectoryW) X(MoveFileExW) X(MultiByteToWideChar) X(OpenEventLogW) X(OpenSCManagerW) X(OpenServiceW) \
    X(QueryServiceStatus) X(ReadEventLogW) X(ReadFile) X(RegGetValueW) X(RegisterEventSourceW) X(ReportEventW) \
    X(Sleep) X(StartServiceW) X(SysAllocString) X(UuidFromStringW) X(UuidToStringW) \
    X(WSACleanup) X(WSAStartup) X(WaitForSingleObject) X(WideCharToMultiByte) X(WriteFile) X(_close) X(_commit) \
    X(_filelengthi64) X(_isatty) X(_read) X(_write) X(_wsopen_s) X(gethostname)
// clang-format on

CORVEL_FAKED_IMPORTS(CORVEL_DECLARE_FAKE)

// These are linked, not imported: each is wrapped itself.
CORVEL_DECLARE_FAKE(GetBestInterface)
CORVEL_DECLARE_FAKE(GetIpAddrTable)
CORVEL_DECLARE_FAKE(SHGetKnownFolderPath)
CORVEL_DECLARE_FAKE(WinHttpCrackUrl)

/// Returns the text as SHGetKnownFolderPath does.
inline PWSTR task_string(const std::wstring& text) {
    const auto copy = static_cast<PWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(wchar_t)));
    std::copy_n(text.c_str(), text.size() + 1, copy);
    return copy;
}
