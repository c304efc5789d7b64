#include "OrvoServer/app/Configuration.h"
#include "Fuzz.h"
#include "OrvoServer/viewers/Domains.h"
#include "VideoCore/Error.h"

#include <string>

// The texts that an administrator writes: the configuration file of the server, its address and its listening address.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace orvo;
    const auto text = fuzz::textOf(data, size);
    try {
        const auto configuration = server::readConfiguration(text);
        fuzz::require(server::originOf(configuration.address).has_value(), "the address has an origin");
        fuzz::require(!configuration.address.ends_with('/'), "the address does not end in a slash");
        const std::string path = configuration.basePath();
        fuzz::require(path.empty() || path.starts_with('/'), "the path of the address begins with a slash");
        fuzz::require(configuration.ticketSeconds >= 2 && configuration.cacheGigabytes >= 1, "numbers are in their ranges");
        server::readListen(configuration.listen);
        const auto again = server::readConfiguration(server::newConfiguration(
            {.address = configuration.address, .listen = configuration.listen, .database = configuration.database}));
        fuzz::require(again.address == configuration.address && again.listen == configuration.listen
                && again.database == configuration.database,
            "a new configuration keeps its values");
    } catch (const Error&) {
        // An invalid configuration.
    }
    try {
        fuzz::require(!server::readListen(text).host.empty(), "a listening address has a host");
    } catch (const Error&) {
        // An invalid listening address.
    }
    return 0;
}
