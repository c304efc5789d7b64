#include "PublisherFixture.h"

#include <format>

namespace orvo::test {

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;

/// A fault that can happen to any request.
struct Mishap {
    std::string name;
    std::string fault; ///< In the notation of `PublishingServer::setFaults`.
    std::string text; ///< The expected message for the user.
    bool isLie = false; ///< Whether the answer reports success although the server did nothing.
};

/// Runs a publication repeatedly, with a fault at each of its requests in turn.
class EveryRequest : public PublisherFixture, public testing::WithParamInterface<Mishap> {
protected:
    EveryRequest()
    {
        fs::remove_all(hls / "480");
        options.limits.silence = std::chrono::seconds(1);
        options.pause = [this](std::chrono::seconds, const std::stop_token&) {
            if (++waits > maxWait)
                throw Cancelled(); // Ends an endless wait, as a user would.
        };
    }

    /// Changes every file, so that the server has to receive all of them.
    void renew()
    {
        write(media("screen.mov"), 8'400'000); // Two chunks.
        write(hls / "master.m3u8", 200);
        project.title = std::format("Clase {}", ++lessons);
        store.save(project);
    }

    bool isRegistered() const { return fs::exists(session); }

    static constexpr int maxWait = 30;
    int waits = 0;
    int lessons = 0;
};

TEST_P(EveryRequest, FailsClearlyAndResumes)
{
    const auto& [name, fault, text, isLie] = GetParam();
    const PublishingServer elsewhere(PublishingServer::Kind::plainProxy);
    renew();
    publish();
    const auto asked = server.asked();
    constexpr std::size_t registration = 2;
    ASSERT_EQ(asked.size(), 3U + 2 * 3 + 1 + 3);

    for (std::size_t number = 0; number < asked.size(); ++number) {
        SCOPED_TRACE(std::format("{}. {}", number, asked[number]));
        waits = 0;
        renew();
        server.forgetRequests();
        server.setFaults(std::format(R"([{{"skip":{},"location":"{}/",{}}}])", number, elsewhere.address(), fault));
        const std::string outcome = failure();
        // The client retries chunks; and when a kept connection turns out to be closed, requests without a body as well.
        const bool isSentAgain = asked[number].starts_with("PUT") || (name == "Closed" && number > registration);
        if (!isLie) {
            EXPECT_EQ(outcome, isSentAgain ? "" : text);
            for (const auto& request : server.requests())
                EXPECT_NE(request.event, "refused") << request.path << " " << request.range;
        }
        const bool isDone = outcome.empty();
        EXPECT_EQ(isRegistered(), !isDone && (number > registration || (isLie && number == registration)));

        // The next publication resumes there and completes.
        const bool goesOn = isRegistered() && number > registration;
        server.setFaults("");
        server.forgetRequests();
        waits = 0;
        ASSERT_EQ(failure(), "");
        EXPECT_EQ(server.asked("POST /api/videos/").empty(), goesOn);
        expectReceived({"media/screen.mov", "project.json", "hls/master.m3u8"});
        EXPECT_FALSE(isRegistered());
    }
    EXPECT_THAT(elsewhere.requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(, EveryRequest,
    testing::Values(Mishap{"Closed", R"("do":"close")", "Se ha cortado la conexión con el servidor «localhost»."},
        Mishap{"Silent", R"("do":"hang")", "El servidor «localhost» no responde."},
        Mishap{"Full", R"("do":"answer","status":507,"json":{"error":"Drive está lleno."})", "Drive está lleno."},
        Mishap{"Elsewhere", R"("do":"redirect")",
            "El servidor remite a otra dirección (http://localhost). Si es la de tu servidor, escríbela en Ajustes."},
        Mishap{"LyingPage", R"("do":"status","status":200,"body":"<html>Portal</html>")", "", true},
        Mishap{"LyingList", R"("do":"answer","json":[{"id":"r1"}])", "", true}),
    [](const auto& given) { return given.param.name; });

} // namespace

} // namespace orvo::test
