#pragma once

#include "fakes/fake.h"

#include <io.h>
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
    X(CloseServiceHandle)                                                                                              \
    X(ControlService)                                                                                                  \
    X(CreateDirectoryW)                                                                                                \
    X(CryptGetMessageSignerCount)                                                                                      \
    X(CryptVerifyDetachedMessageSignature)                                                                             \
    X(DeregisterEventSource)                                                                                           \
    X(GetFileAttributesW)                                                                                              \
    X(GetTickCount)                                                                                                    \
    X(GetWindowsDirectoryW)                                                                                            \
    X(MoveFileExW)                                                                                                     \
    X(MultiByteToWideChar)                                                                                             \
    X(OpenSCManagerW)                                                                                                  \
    X(OpenServiceW)                                                                                                    \
    X(QueryServiceStatus)                                                                                              \
    X(RegisterEventSourceW)                                                                                            \
    X(ReportEventW)                                                                                                    \
    X(Sleep)                                                                                                           \
    X(StartServiceW)                                                                                                   \
    X(UuidToStringW)                                                                                                   \
    X(WideCharToMultiByte)                                                                                             \
    X(_close)                                                                                                          \
    X(_isatty)                                                                                                         \
    X(_read)                                                                                                           \
    X(_write)

CORVEL_FAKED_IMPORTS(CORVEL_DECLARE_FAKE)
CORVEL_DECLARE_FAKE(SHGetKnownFolderPath)
