#include "main/configuration.h"

#include "config/persistence.h"
#include "console/console.h"
#include "winconv/fatal_exception.h"

namespace Commands {

bool load_configuration() {
    try {
        // Only the agent generates a host_id.
        Config::config_load(false);
        return true;
    } catch (const WinConv::CorvelFatalException& fatal) {
        Console::print_error("Fatal exception occurred loading config: {}\n", fatal.text());
        return false;
    }
}

} // namespace Commands
