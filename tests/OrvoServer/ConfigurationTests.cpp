#include "OrvoServer/app/Configuration.h"
#include "VideoCore/Error.h"

#include <gmock/gmock.h>

#include <map>

namespace orvo::test {

namespace {

using namespace server;
using testing::HasSubstr;

TEST(Configuration, AcceptsOnlyAddressesThatBrowsersUnderstand)
{
    const std::map<std::string, std::string> good{{"https://videos.ejemplo.es", "https://videos.ejemplo.es"},
        {" https://videos.ejemplo.es/// ", "https://videos.ejemplo.es"},
        {"https://ejemplo.es/videos/", "https://ejemplo.es/videos"}, {"http://localhost:8080", "http://localhost:8080"}};
    for (const auto& [typed, kept] : good)
        EXPECT_EQ(readAddress(typed), kept) << typed;
    for (const auto* typed : {"", "videos.ejemplo.es", "ftp://ejemplo.es", "https://ejemplo.es/?a", "https://ejemplo.es/#a",
             "https://ejemplo.es/a b", "https://ejemplo.es   ///", "https://ejemplo.es/\x01"})
        EXPECT_THROW(readAddress(typed), Error) << typed;
}

TEST(Configuration, NamesTheWrongLine)
{
    const std::map<std::string, std::string> wrong{{"storage = ftp", "Línea 2 de la configuración, «storage»"},
        {"ticket_seconds = 1", "entre 2 y 86400"}, {"quota_gigabytes = many", "número entero"},
        {"colour = red", "no existe «colour»"}, {"storage", "no existe «storage»"},
        {"listen = here", "no dice dónde escuchar"}, {"tls_certificate = a.pem", "van juntos"}};
    for (const auto& [line, text] : wrong) {
        try {
            readConfiguration("address = https://a.es\n" + line + "\n");
            ADD_FAILURE() << line;
        } catch (const Error& error) {
            EXPECT_THAT(error.what(), HasSubstr(text)) << line;
        }
    }
}

} // namespace

} // namespace orvo::test
