#pragma once

// Replaces functions of the system at link time. A faked import passes every call through until a test puts a
// function in its place, which lasts as long as the Replacement and is seen by that test's thread alone:
//
//   const Fakes::Replacement refuse(Fakes::MoveFileExW, [](auto...) { return FALSE; });

#include <windows.h>

#include <forward_list>
#include <functional>
#include <memory>
#include <utility>

namespace Fakes {

template <typename Signature> struct Fake {
    Signature* const* original = nullptr;
    const char* name = "";
    std::function<Signature> replacement{};
    DWORD thread = 0;

    bool applies() const { return replacement && thread == GetCurrentThreadId(); }
    /// Calls what a caller gets now.
    template <typename... Args> auto operator()(Args&&... args) const { return applies() ? replacement(args...) : (*original)(args...); }
};

/// One replacement, which ends with the last copy of this object.
struct Replacement {
    template <typename Signature, typename Function> Replacement(Fake<Signature>& fake, Function function) : end(nullptr, [&fake, previous = fake](void*) { fake = previous; }) {
        fake.thread = GetCurrentThreadId();
        fake.replacement = std::move(function);
    }
    std::shared_ptr<void> end;
};

/// Replacements that last as long as this object; of two of one function, the one in front holds.
using Replacements = std::forward_list<Replacement>;

/// Fails a call: sets the error and returns the result.
template <typename Result> Result refuse(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

// What the import table's pointer leads to instead of the system's function. The C++ library calls some before the
// fakes are constructed.
template <auto& fake, auto& real, typename Result, typename... Args> Result WINAPI call(Args... args) { return fake.applies() ? fake.replacement(args...) : real(args...); }

} // namespace Fakes

#define CORVEL_DECLARE_FAKE(name, ...)                                                                                                                                                                 \
    namespace Fakes {                                                                                                                                                                                  \
    extern Fake<decltype(::name)> name;                                                                                                                                                                \
    }
