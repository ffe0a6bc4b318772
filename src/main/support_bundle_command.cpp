#include "main/commands.h"

#include "supportbundle/bundle.h"

#include <algorithm>

namespace Commands {

int create_support_bundle(std::span<const std::string> arguments) {
    const auto option = std::ranges::find(arguments, "--exclude");
    const bool has_word = option != arguments.end() && option + 1 != arguments.end();
    const bool exclude_wu = has_word && *(option + 1) == "wu";
    return SupportBundle::create_support_bundle(exclude_wu) ? exit_success : exit_failure;
}

} // namespace Commands
