#include "PlayerRig.h"

#include "VideoMedia/FfprobeMediaProbe.h"

#include <QGuiApplication>
#include <utility>

namespace orvo::test {

namespace {

/// The event loop that every test of this program runs on.
class Application : public testing::Environment {
public:
    void SetUp() override
    {
        // No display is needed, and no graphics card.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_QUICK_BACKEND", "software");
        m_application = std::make_unique<QGuiApplication>(m_count, m_arguments);
    }
    void TearDown() override { m_application.reset(); }

private:
    int m_count = 1;
    char m_name[8] = "preview";
    char* m_arguments[2] = {m_name, nullptr};
    std::unique_ptr<QGuiApplication> m_application;
};

const auto* const application = testing::AddGlobalTestEnvironment(new Application);

} // namespace

PlayerRig::PlayerRig(const std::string& audioSink, std::unique_ptr<MediaProbe> probe)
    : m_player(
          std::make_unique<GstPreviewPlayer>(probe ? std::move(probe) : std::make_unique<FfprobeMediaProbe>(), audioSink))
{
    PreviewPlayer* player = m_player.get();
    const auto on = [player](auto signal, auto slot) { QObject::connect(player, signal, player, slot); };
    on(&PreviewPlayer::loaded, [this] { ++loads; });
    on(&PreviewPlayer::failed, [this](const QString& reason) { failures.push_back(reason.toStdString()); });
    on(&PreviewPlayer::seekFinished, [this](double seconds) { seeks.push_back(seconds); });
    on(&PreviewPlayer::timeChanged, [this](double seconds) { times.push_back(seconds); });
    on(&PreviewPlayer::frameChanged, [this, player] { frames.push_back(player->frame()); });
    on(&PreviewPlayer::rateChanged, [this, player] { rates.push_back(player->rate()); });
    on(&PreviewPlayer::endReached, [this] { ++ends; });
}

testing::AssertionResult PlayerRig::load(const PreviewComposition& composition)
{
    const auto answers = [this] { return loads + static_cast<int>(failures.size()); };
    const int before = answers();
    const auto failed = failures.size();
    player().load(composition);
    if (!waitUntil([&] { return answers() > before; }))
        return testing::AssertionFailure() << "the load reports no result";
    return failures.size() == failed ? testing::AssertionSuccess() : testing::AssertionFailure() << failures.back();
}

testing::AssertionResult PlayerRig::seek(double seconds)
{
    const auto before = seeks.size();
    player().seek(seconds);
    return waitUntil([&] { return seeks.size() > before; }) ? testing::AssertionSuccess()
                                                            : testing::AssertionFailure() << "the seek does not finish";
}

} // namespace orvo::test
