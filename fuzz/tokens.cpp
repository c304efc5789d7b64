#include "Fuzz.h"
#include "OrvoServer/base/Crypto.h"
#include "OrvoServer/storage/Secrets.h"
#include "OrvoServer/viewers/Tickets.h"

#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

using namespace orvo;
using namespace orvo::server;

class SetClock final : public Clock {
public:
    std::int64_t now() const override { return 1'000'000; }
};

/// A box whose key is the same in each run, so that findings can be reproduced.
SecretBox makeBox()
{
    const auto file = std::filesystem::temp_directory_path() / ("orvo-fuzz-" + std::to_string(::getpid()));
    const std::string key(32, 'k');
    std::FILE* out = std::fopen(file.c_str(), "w");
    fuzz::require(
        out && std::fwrite(key.data(), 1, key.size(), out) == key.size() && std::fclose(out) == 0, "the key can be written");
    SecretBox box(file);
    std::filesystem::remove(file);
    return box;
}

} // namespace

// Tickets, grants and sealed secrets: any text, and valid ones with some bytes changed.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const SetClock clock;
    static const Tickets tickets(std::string(32, 's'), {.ticket = 2'000'000, .grant = 2'000'000}, clock);
    static const SecretBox box = makeBox();
    const auto text = fuzz::textOf(data, size);
    for (const auto kind : {Tickets::Kind::ticket, Tickets::Kind::grant}) {
        fuzz::require(!tickets.read(kind, text), "an arbitrary text is not a ticket");
        const Permission permission{.video = {}, .revision = base64Url(bytesOf(std::string(16, 'r'))), .until = 2'000'000};
        const std::string right = tickets.write(kind, permission);
        fuzz::require(tickets.read(kind, right) == permission, "a ticket reads back as itself");
        std::string changed = right;
        for (std::size_t at = 0; at + 1 < size; at += 2)
            changed[data[at] % changed.size()] = static_cast<char>(data[at + 1]);
        fuzz::require(changed == right || !tickets.read(kind, changed), "a changed ticket is invalid");
    }
    if (const auto bytes = fromBase64Url(text))
        fuzz::require(base64Url(bytesOf(*bytes)) == text, "bytes have one spelling");
    fuzz::require(!box.open("name", text), "an arbitrary text does not open");
    const std::string sealed = box.seal("name", text);
    fuzz::require(box.open("name", sealed) == text, "a sealed text opens");
    fuzz::require(!box.open("other", sealed), "a sealed text does not open under another name");
    fuzz::require(
        !box.open("name", std::string_view(sealed).substr(0, sealed.size() - 1)), "a truncated text does not open");
    return 0;
}
