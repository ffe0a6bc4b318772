#include "config/uuid.h"

#include "winconv/convert.h"
#include "winconv/owned.h"

#include <algorithm>
#include <cstddef>
#include <new>

namespace Config {

namespace {

constexpr std::size_t text_length = 36;

void free_rpc_string(RPC_WSTR text) noexcept {
    RpcStringFreeW(&text);
}
using RpcString = WinConv::Owned<RPC_WSTR, free_rpc_string>;

} // namespace

Uuid Uuid::parse(std::string_view text) {
    Uuid uuid;
    // The conversion stops at a NUL and would ignore the rest of the text.
    if (text.find('\0') != std::string_view::npos) {
        return uuid;
    }
    std::wstring native = WinConv::utf8_to_native(text);
    if (UuidFromStringW(reinterpret_cast<RPC_WSTR>(native.data()), &uuid.value_) != RPC_S_OK) {
        UuidCreateNil(&uuid.value_);
    }
    return uuid;
}

Uuid Uuid::generate() {
    Uuid uuid;
    UuidCreate(&uuid.value_);
    return uuid;
}

bool Uuid::is_nil() const {
    UUID value = value_;
    RPC_STATUS status = RPC_S_OK;
    return UuidIsNil(&value, &status) != 0;
}

std::string Uuid::text() const {
    UUID value = value_;
    RPC_WSTR buffer = nullptr;
    if (UuidToStringW(&value, &buffer) != RPC_S_OK) {
        throw std::bad_alloc();
    }
    const RpcString owner(buffer);
    // Only ASCII characters, each of which is one byte in UTF-8.
    std::string text(text_length, '\0');
    std::transform(owner.get(), owner.get() + text_length, text.begin(),
                   [](auto character) { return static_cast<char>(character); });
    return text;
}

} // namespace Config
