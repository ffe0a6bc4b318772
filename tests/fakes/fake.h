#pragma once

// Replaces functions of the system at link time. A faked import passes every call through until a test puts a
// function in its place, which lasts as long as the Replacement and is seen by that test's thread alone, unless it asks
// for every thread:
//
//   const Fakes::Replacement refuse(Fakes::MoveFileExW, [](auto...) { return FALSE; });

#include <windows.h>

#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace Fakes {

template <typename Signature>
struct Fake {
    Signature* const* original = nullptr;
    std::function<Signature> replacement{};
    DWORD thread = 0; // 0: every thread

    bool applies() const {
        return replacement && (thread == 0 || thread == GetCurrentThreadId());
    }
    /// Calls what a caller gets now.
    template <typename... Args>
    auto operator()(Args&&... args) const {
        return applies() ? replacement(args...) : (*original)(args...);
    }
};

enum class Threads { ThisOne, All };

template <typename Signature>
class Replacement {
public:
    template <typename Function>
    Replacement(Fake<Signature>& fake, Function function, Threads threads = Threads::ThisOne)
        : fake_(fake), previous_(fake) {
        fake_.thread = threads == Threads::All ? 0 : GetCurrentThreadId();
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

/// Replacements that last as long as this object; of two of one function, the later one holds.
class Replacements {
public:
    Replacements() = default;
    Replacements(const Replacements&) = delete;
    Replacements& operator=(const Replacements&) = delete;
    ~Replacements() {
        while (!replaced_.empty()) {
            replaced_.pop_back();
        }
    }
    template <typename Signature, typename Function>
    void add(Fake<Signature>& fake, Function function, Threads threads = Threads::ThisOne) {
        replaced_.push_back(std::make_shared<Replacement<Signature>>(fake, std::move(function), threads));
    }

private:
    std::vector<std::shared_ptr<void>> replaced_;
};

/// Replaces a function by one that fails with this result and last error.
template <typename Result, typename... Args>
Replacement<Result(Args...)> failing(Fake<Result(Args...)>& fake, std::type_identity_t<Result> result,
                                     DWORD error = ERROR_ACCESS_DENIED) {
    return {fake, [result, error](Args...) {
                SetLastError(error);
                return result;
            }};
}

// What the import table's pointer leads to instead of the system's function. The C++ library calls some before the
// fakes are constructed.
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
