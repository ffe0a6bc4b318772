#pragma once

#include <winsock2.h>
#include <ws2tcpip.h>

#include "fakes/fake.h"

#include <io.h>
#include <iphlpapi.h>
#include <objbase.h>
#include <rpc.h>
#include <shlobj.h>
#include <wincrypt.h>
#include <winsvc.h>

// X(function) for each import that tests replace; tests/CMakeLists.txt tells the linker from the same list.
#define CORVEL_FAKED_IMPORTS(X)                                                                                        \
    X(CertAddCertificateContextToStore)                                                                                \
    X(CertAddStoreToCollection)                                                                                        \
    X(CertCloseStore)                                                                                                  \
    X(CertCreateCertificateChainEngine)                                                                                \
    X(CertCreateCertificateContext)                                                                                    \
    X(CertFreeCertificateChain)                                                                                        \
    X(CertFreeCertificateContext)                                                                                      \
    X(CertGetCertificateChain)                                                                                         \
    X(CertNameToStrW)                                                                                                  \
    X(CertOpenStore)                                                                                                   \
    X(CertOpenSystemStoreW)                                                                                            \
    X(ChangeServiceConfig2W)                                                                                           \
    X(CloseEventLog)                                                                                                   \
    X(CloseServiceHandle)                                                                                              \
    X(CoCreateInstance)                                                                                                \
    X(CoInitializeEx)                                                                                                  \
    X(CoSetProxyBlanket)                                                                                               \
    X(ControlService)                                                                                                  \
    X(CreateDirectoryW)                                                                                                \
    X(CreateProcessW)                                                                                                  \
    X(CryptGetMessageSignerCount)                                                                                      \
    X(CryptVerifyDetachedMessageSignature)                                                                             \
    X(DeregisterEventSource)                                                                                           \
    X(GetAddrInfoW)                                                                                                    \
    X(GetFileAttributesW)                                                                                              \
    X(GetNativeSystemInfo)                                                                                             \
    X(GetTickCount)                                                                                                    \
    X(GetWindowsDirectoryW)                                                                                            \
    X(MoveFileExW)                                                                                                     \
    X(MultiByteToWideChar)                                                                                             \
    X(OpenEventLogW)                                                                                                   \
    X(OpenSCManagerW)                                                                                                  \
    X(OpenServiceW)                                                                                                    \
    X(QueryServiceStatus)                                                                                              \
    X(ReadEventLogW)                                                                                                   \
    X(RegisterEventSourceW)                                                                                            \
    X(ReportEventW)                                                                                                    \
    X(Sleep)                                                                                                           \
    X(StartServiceW)                                                                                                   \
    X(UuidToStringW)                                                                                                   \
    X(WaitForSingleObject)                                                                                             \
    X(WideCharToMultiByte)                                                                                             \
    X(WriteFile)                                                                                                       \
    X(_close)                                                                                                          \
    X(_isatty)                                                                                                         \
    X(_read)                                                                                                           \
    X(_write)

CORVEL_FAKED_IMPORTS(CORVEL_DECLARE_FAKE)

// These are linked, not imported: each is wrapped itself.
CORVEL_DECLARE_FAKE(GetBestInterface)
CORVEL_DECLARE_FAKE(GetIpAddrTable)
CORVEL_DECLARE_FAKE(SHGetKnownFolderPath)
