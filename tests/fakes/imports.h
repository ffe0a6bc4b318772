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
#include <shlwapi.h>
#include <wincrypt.h>
#include <winhttp.h>
#include <winsvc.h>

// An X(...) for each import that tests replace; tests/CMakeLists.txt tells the linker from the same lists. Those that
// fail in the failure matrix stand with the result, if it is not zero, and the error, if it is not that access is
// denied. One that closes a handle fails with ERROR_INVALID_HANDLE and closes it all the same.
// clang-format off
#define CORVEL_OTHER_IMPORTS(X) \
    X(CreateMutexA) X(CoUninitialize) X(DeregisterEventSource) X(GetConsoleMode) X(GetNativeSystemInfo) X(GetProductInfo) X(GetStdHandle) X(GetTickCount) X(GetTickCount64) \
    X(RegisterEventSourceW) X(ReportEventW) X(SetDllDirectoryW) X(Sleep) X(WSACleanup) X(WaitForSingleObject) X(WriteConsoleW) X(_isatty)
#define CORVEL_FAILING_IMPORTS(X) \
    X(CertAddCertificateContextToStore) X(CertAddStoreToCollection) X(CertCloseStore, FALSE, ERROR_INVALID_HANDLE) X(CertCreateCertificateChainEngine) \
    X(CertCreateCertificateContext) X(CertGetCertificateChain) X(CertNameToStrW) X(CertOpenStore) X(CertOpenSystemStoreW) X(ChangeServiceConfig2W) \
    X(CloseEventLog, FALSE, ERROR_INVALID_HANDLE) X(CloseHandle, FALSE, ERROR_INVALID_HANDLE) X(CloseServiceHandle, FALSE, ERROR_INVALID_HANDLE) X(CoCreateInstance, E_ACCESSDENIED) \
    X(CoInitializeEx, RPC_E_CHANGED_MODE) X(CoSetProxyBlanket, E_ACCESSDENIED) X(ControlService) X(ConvertStringSecurityDescriptorToSecurityDescriptorW) X(CreateDirectoryW) \
    X(CreateFileW, INVALID_HANDLE_VALUE) X(CreateProcessW) X(CryptGetMessageSignerCount, -1) X(CryptVerifyDetachedMessageSignature, FALSE, 0x80090006) X(DeleteFileW) \
    X(GetAddrInfoW, WSAHOST_NOT_FOUND) X(FlushFileBuffers, FALSE, ERROR_DISK_FULL) X(GetEnvironmentVariableW) X(GetFileAttributesW, INVALID_FILE_ATTRIBUTES) \
    X(GetFileInformationByHandle) X(GetFileSizeEx) X(GetFullPathNameW) X(GetModuleHandleExW) X(GetProcAddress) X(GetTempPathW) X(GetWindowsDirectoryW) X(MoveFileExW) \
    X(MultiByteToWideChar) X(OpenEventLogW) X(OpenSCManagerW) X(OpenServiceW) X(QueryServiceStatus) X(ReadEventLogW) X(ReadFile, FALSE, ERROR_READ_FAULT) \
    X(RegGetValueW, ERROR_ACCESS_DENIED) X(StartServiceW) X(SysAllocString) X(UuidFromStringW, RPC_S_INVALID_STRING_UUID) X(UuidToStringW, RPC_S_OUT_OF_MEMORY) \
    X(WSAStartup, WSASYSNOTREADY) X(WideCharToMultiByte) X(WriteFile, FALSE, ERROR_DISK_FULL) X(_write, -1) X(gethostname, -1)

CORVEL_OTHER_IMPORTS(CORVEL_DECLARE_FAKE) CORVEL_FAILING_IMPORTS(CORVEL_DECLARE_FAKE)
// These are linked, not imported: each is wrapped itself.
CORVEL_DECLARE_FAKE(GetBestInterface) CORVEL_DECLARE_FAKE(GetIpAddrTable) CORVEL_DECLARE_FAKE(SHGetKnownFolderPath) CORVEL_DECLARE_FAKE(WinHttpCrackUrl)
    // clang-format on
