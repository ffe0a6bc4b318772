#include "main/dispatch.h"

#include "console/console.h"
#include "main/commands.h"
#include "winconv/fatal_exception.h"

#include <algorithm>

namespace Commands {

namespace {

constexpr auto usage = "Usage: corvelctl set <key> <value> ...\n"
                       "  or   corvelctl create_support_bundle [--exclude wu]\n"
                       "  or   corvelctl verify_release <metadata-file> <signature-file>\n"
                       "\n"
                       "Example: corvelctl set tenant_id <UUID>\n"
                       "  or     corvelctl create_support_bundle\n";

int show_usage() {
    Console::write_output(usage);
    return exit_failure;
}

} // namespace

int dispatch(std::span<const std::string> arguments) {
    try {
        if (!arguments.empty() && arguments.front() == "set") {
            return set(arguments.subspan(1));
        }
        if (!arguments.empty() && arguments.front() == "verify_release") {
            return arguments.size() == 3 ? verify_release(arguments[1], arguments[2]) : show_usage();
        }
        if (std::ranges::find(arguments, "create_support_bundle") != arguments.end()) {
            return create_support_bundle(arguments);
        }
    } catch (const WinConv::CorvelFatalException& fatal) {
        Console::print_error("{}\n", fatal.text());
        return exit_failure;
    }
    return show_usage();
}

} // namespace Commands
