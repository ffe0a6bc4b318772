#pragma once

// Replaces functions of the system at link time. A faked import passes every call through until a test puts a
// function in its place, which lasts as long as the Replacement and is seen by that test's thread alone, unless it asks
// for every thread:
//
//   const Fakes::Replacement refuse(Fakes::MoveFileExW, [](auto...) { return FALSE; });

#include <windows.h>

#include <functional>
#include <utility>

namespace Fakes {

template <typename Signature>
struct Fake {
    Signature* const* original = nullptr;
    std::function<Signature> replacement{};
    DWORD thread = 0; // 0: every thread

    bool applies() const {
        return replacement && (thread == 0 || thread == GetCurrentThreadId());
    }
};

enum class Threads { this_one, all };

template <typename Signature>
class Replacement {
public:
    template <typename Function>
    Replacement(Fake<Signature>& fake, Function function, Threads threads = Threads::this_one)
        : fake_(fake), previous_(fake) {
        fake_.thread = threads == Threads::all ? 0 : GetCurrentThreadId();
        fake_.replacement = std::move(function);
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        fake_ = previous_;
    }

private:
    Fake<Signature>& fake_;
    Fake<Signature> previous_;
};

// What the import table's pointer leads to instead of the system's function.
template <auto& fake, auto& real, typename Signature>
struct Trampoline;

template <auto& fake, auto& real, typename Result, typename... Args>
struct Trampoline<fake, real, Result(Args...)> {
    static Result WINAPI call(Args... args) {
        return fake.applies() ? fake.replacement(args...) : real(args...);
    }
};

} // namespace Fakes

#define CORVEL_DECLARE_FAKE(name)                                                                                      \
    namespace Fakes {                                                                                                  \
    extern Fake<decltype(::name)> name;                                                                                \
    }

// The linker option --wrap=__imp_NAME makes the pointers below the import table's entry and its original.
#define CORVEL_DEFINE_FAKE(name)                                                                                       \
    extern "C" {                                                                                                       \
    extern decltype(&::name) __real___imp_##name;                                                                      \
    }                                                                                                                  \
    namespace Fakes {                                                                                                  \
    Fake<decltype(::name)> name{&__real___imp_##name};                                                                 \
    }                                                                                                                  \
    extern "C" {                                                                                                       \
    decltype(&::name) __wrap___imp_##name =                                                                            \
        Fakes::Trampoline<Fakes::name, __real___imp_##name, decltype(::name)>::call;                                   \
    }
