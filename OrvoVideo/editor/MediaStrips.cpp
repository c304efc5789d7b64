#include "OrvoVideo/editor/MediaStrips.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoMedia/MonoSamples.h"
#include "VideoMedia/StillFrame.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <utility>

namespace orvo {

namespace {

constexpr qsizetype frameMemory = 96 << 20; ///< Bytes of decoded frames in memory.
constexpr qint64 cacheLimit = 512 << 20; ///< Maximum bytes on disk; the oldest files are removed.

/// The cache key of the current version of a media file.
QString cacheName(const std::filesystem::path& file)
{
    const QFileInfo facts(Text::from(file));
    const QString identity = QStringLiteral("%1|%2|%3")
                                 .arg(facts.absoluteFilePath())
                                 .arg(facts.size())
                                 .arg(facts.lastModified().toMSecsSinceEpoch());
    return QString::fromLatin1(QCryptographicHash::hash(identity.toUtf8(), QCryptographicHash::Sha1).toHex());
}

QDir cacheFolder()
{
    const QDir folder(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + "/OrvoVideo/timeline");
    folder.mkpath(QStringLiteral("."));
    return folder;
}

QString memoryName(const MediaStrips::FrameKey& key)
{
    return QStringLiteral("%1|%2").arg(Text::from(key.file)).arg(key.time);
}

std::filesystem::path toPath(const QString& name)
{
    return name.toStdString();
}

/// The name of a new work folder in the cache, for `QTemporaryDir`.
QString workFolder()
{
    return cacheFolder().filePath(QStringLiteral("reading-XXXXXX"));
}

/// Removes the oldest files beyond `cacheLimit`, and the work folders that a crash left.
void limitCache()
{
    const auto files = cacheFolder().entryInfoList(QDir::Files, QDir::Time);
    qint64 total = 0;
    for (const auto& file : files) {
        total += file.size();
        if (total > cacheLimit)
            QFile::remove(file.filePath());
    }
    const auto abandoned = QDateTime::currentDateTimeUtc().addDays(-1); // Reading takes less.
    for (const auto& folder : cacheFolder().entryInfoList({QStringLiteral("reading-*")}, QDir::Dirs | QDir::NoSymLinks)) {
        if (folder.lastModified() < abandoned)
            QDir(folder.filePath()).removeRecursively();
    }
}

/// Delays decoding, so that it does not compete for the processors with opening the project in the player.
constexpr std::chrono::milliseconds headStart(700);

void waitUntil(std::chrono::steady_clock::time_point time, const std::stop_token& stop)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait_until(lock, stop, time, [] { return false; });
    if (stop.stop_requested())
        throw Cancelled();
}

} // namespace

MediaStrips::MediaStrips(QObject* parent)
    : QObject(parent)
    , m_frames(frameMemory)
{
}

MediaStrips::~MediaStrips()
{
    m_waveformStop.request_stop();
    m_wanted.clear();
    m_workers.shutDown();
}

void MediaStrips::setSources(std::vector<Source> sources)
{
    if (sources == m_sources)
        return;
    m_sources = std::move(sources);
    const auto shown = [&](const std::filesystem::path& file) {
        return std::ranges::contains(m_sources, file, &Source::file);
    };
    std::erase_if(m_peaks, [&](const auto& entry) { return !shown(entry.first); });
    m_silent.clear();
    m_unreadable.clear();
    m_wanted.clear();
    m_cancelled = false;
    m_readFrom = Clock::now() + headStart;
    resume();
    emit changed();
}

const WaveformPeaks* MediaStrips::peaks(const std::filesystem::path& file) const
{
    const auto found = m_peaks.find(file);
    return found == m_peaks.end() || found->second.empty() ? nullptr : &found->second;
}

void MediaStrips::setPreparing(bool preparing)
{
    m_preparing = preparing;
    emit preparingChanged();
}

void MediaStrips::cancel()
{
    if (!m_preparing)
        return;
    m_cancelled = true;
    m_waveformStop.request_stop();
    setPreparing(false);
}

void MediaStrips::resume()
{
    m_waveformStop.request_stop();
    m_waveformStop = {};
    m_cancelled = false;
    readWaveforms();
}

QCoro::Task<> MediaStrips::readWaveforms()
{
    const auto stop = m_waveformStop.get_token();
    const auto wanted = m_sources;
    const auto count = static_cast<double>(wanted.size());
    try {
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const Source& source = wanted[i];
            if (!source.audio || m_peaks.contains(source.file) || m_silent.contains(source.file))
                continue;
            m_progress = static_cast<double>(i) / count;
            setPreparing(true);
            const WorkControl control{.stop = stop, .progress = [this, stop, i, count](double value) {
                                          if (stop.stop_requested())
                                              return;
                                          m_progress = (static_cast<double>(i) + value) / count;
                                          emit preparingChanged();
                                      }};
            bool silent = false;
            try {
                auto peaks = co_await m_workers.run(
                    control, [source, from = m_readFrom](const std::stop_token& token, const ProgressCallback& progress) {
                        return readPeaks(source, from, token, progress);
                    });
                if (stop.stop_requested())
                    co_return;
                m_peaks.insert_or_assign(source.file, std::move(peaks));
            } catch (const std::exception&) {
                silent = true; // The file has no audio or cannot be read.
            }
            if (stop.stop_requested())
                co_return;
            if (silent)
                m_silent.insert(source.file);
            emit changed();
        }
    } catch (const Cancelled&) {
        co_return;
    }
    if (m_preparing)
        setPreparing(false);
}

WaveformPeaks MediaStrips::readPeaks(
    const Source& source, Clock::time_point from, const std::stop_token& stop, const ProgressCallback& progress)
{
    const QString kept = cacheFolder().filePath(cacheName(source.file) + QStringLiteral(".peaks"));
    QFile cache(kept);
    if (cache.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = cache.readAll();
        if (auto peaks = WaveformPeaks::decoded({bytes.constData(), static_cast<std::size_t>(bytes.size())}))
            return std::move(*peaks);
    }
    waitUntil(from, stop);
    const QTemporaryDir folder(workFolder());
    WaveformPeaks peaks;
    readMonoSamples(
        {.file = source.file, .rate = WaveformPeaks::sampleRate, .duration = source.duration},
        toPath(folder.filePath(QStringLiteral("audio.s16"))),
        [&peaks](std::span<const std::int16_t> samples) { peaks.add(samples); }, progress, stop);
    peaks.finish();
    limitCache();
    QSaveFile file(kept);
    const std::string bytes = peaks.encoded();
    if (file.open(QIODevice::WriteOnly)) {
        file.write(bytes.data(), static_cast<qint64>(bytes.size()));
        file.commit(); // If this fails, the file is read again the next time.
    }
    return peaks;
}

QImage MediaStrips::frame(const FrameKey& key) const
{
    const QImage* image = m_frames.object(memoryName(key));
    return image ? *image : QImage();
}

void MediaStrips::want(std::vector<FrameKey> frames)
{
    m_wanted = std::move(frames);
    if (!m_readingFrames && !m_wanted.empty())
        readFrames();
}

QCoro::Task<> MediaStrips::readFrames()
{
    m_readingFrames = true;
    try {
        while (!m_wanted.empty()) {
            const FrameKey key = m_wanted.front();
            m_wanted.erase(m_wanted.begin());
            if (m_unreadable.contains(key) || m_frames.contains(memoryName(key)))
                continue;
            QImage image;
            try {
                image = co_await m_workers.run(
                    [key, from = m_readFrom](const std::stop_token& stop) { return readFrame(key, from, stop); });
            } catch (const std::exception&) {
                image = {}; // Not tried again.
            }
            if (image.isNull()) {
                m_unreadable.insert(key);
                continue;
            }
            m_frames.insert(memoryName(key), new QImage(image), image.sizeInBytes());
            emit changed();
        }
    } catch (const Cancelled&) {
        co_return;
    }
    m_readingFrames = false;
}

QImage MediaStrips::readFrame(const FrameKey& key, Clock::time_point from, const std::stop_token& stop)
{
    const QString kept = cacheFolder().filePath(QStringLiteral("%1-%2.jpg").arg(cacheName(key.file)).arg(key.time));
    if (QImage image(kept); !image.isNull())
        return image;
    waitUntil(from, stop);
    const QTemporaryDir folder(workFolder());
    const QString made = folder.filePath(QStringLiteral("frame.jpg"));
    writeStillFrame(
        {.movie = key.file, .seconds = static_cast<double>(key.time) / 1000, .height = frameHeight}, toPath(made), stop);
    QImage image(made);
    if (!image.isNull())
        std::rename(toPath(made).c_str(), toPath(kept).c_str());
    return image;
}

} // namespace orvo
