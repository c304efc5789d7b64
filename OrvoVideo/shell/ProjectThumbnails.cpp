#include "OrvoVideo/shell/ProjectThumbnails.h"

#include "OrvoVideo/model/ModelText.h"
#include "VideoCore/Error.h"
#include "VideoMedia/StillFrame.h"

#include <QCryptographicHash>
#include <QImage>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QTemporaryFile>
#include <algorithm>
#include <cstdio>
#include <format>

namespace orvo {

namespace fs = std::filesystem;

namespace {

Q_LOGGING_CATEGORY(log, "orvo.thumbnails")

/// The cache file for this version of the movie.
fs::path cachedThumbnail(const fs::path& movie, const fs::file_time_type& changed, std::uintmax_t size)
{
    const auto key = std::format("{}|{}|{}", movie.string(), changed.time_since_epoch().count(), size);
    const auto digest = QCryptographicHash::hash(QByteArray::fromStdString(key), QCryptographicHash::Sha1).toHex();
    const fs::path cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation).toStdString();
    return cache / "OrvoVideo" / "thumbnails" / (digest.toStdString() + ".jpg");
}

/// The thumbnail of a movie, from the cache if present. Blocks.
QImage frameOf(const fs::path& movie, const std::stop_token& stop)
{
    const fs::path frame = cachedThumbnail(movie, fs::last_write_time(movie), fs::file_size(movie));
    if (const QImage cached(QString::fromStdString(frame.string())); !cached.isNull())
        return cached;
    fs::create_directories(frame.parent_path());
    QTemporaryFile file(QString::fromStdString(frame.parent_path() / "XXXXXX.jpg"));
    if (!file.open())
        return {};
    // The first frame of a recording is often empty. Movies shorter than a second have no later one.
    for (const double seconds : {1.0, 0.0}) {
        try {
            writeStillFrame({.movie = movie, .seconds = seconds, .height = ThumbnailProvider::height},
                file.fileName().toStdString(), stop);
        } catch (const Error&) {
            if (seconds == 0)
                throw;
            continue;
        }
        const QImage made(file.fileName());
        if (made.isNull())
            continue;
        // Atomic, because two processes may make the same thumbnail.
        file.setAutoRemove(::rename(file.fileName().toLocal8Bit().constData(), frame.c_str()) != 0);
        return made;
    }
    return {};
}

class Response final : public QQuickImageResponse {
public:
    explicit Response(fs::path movie, std::stop_token stop)
        : m_movie(std::move(movie))
        , m_stop(std::move(stop))
    {
    }

    /// Makes the thumbnail. Runs on the provider's thread.
    void make()
    {
        try {
            if (!m_cancelled.stop_requested() && !m_stop.stop_requested())
                m_image = frameOf(m_movie, m_stop);
        } catch (const Cancelled&) {
            // The application is closing.
        } catch (const std::exception& error) {
            qCInfo(log) << "no thumbnail of" << m_movie.c_str() << error.what();
        }
        emit finished();
    }

    QQuickTextureFactory* textureFactory() const override { return QQuickTextureFactory::textureFactoryForImage(m_image); }
    void cancel() override { m_cancelled.request_stop(); }

private:
    fs::path m_movie;
    std::stop_token m_stop;
    std::stop_source m_cancelled; ///< Set when the row is scrolled out of view before its turn.
    QImage m_image;
};

} // namespace

ThumbnailProvider::ThumbnailProvider()
{
    m_threads.setMaxThreadCount(1);
    m_threads.setThreadPriority(QThread::LowPriority);
}

ThumbnailProvider::~ThumbnailProvider()
{
    stop();
}

void ThumbnailProvider::stop()
{
    m_stop.request_stop();
    m_threads.waitForDone();
}

QUrl ThumbnailProvider::address(const fs::path& movie)
{
    const auto encoded = QByteArray::fromStdString(movie.string()).toBase64(QByteArray::Base64UrlEncoding);
    return QUrl(QStringLiteral("image://%1/%2").arg(QLatin1String(name), QLatin1String(encoded)));
}

QQuickImageResponse* ThumbnailProvider::requestImageResponse(const QString& id, const QSize&)
{
    const auto movie = QByteArray::fromBase64(id.toLatin1(), QByteArray::Base64UrlEncoding);
    auto* response = new Response(fs::path(movie.toStdString()), m_stop.get_token());
    m_threads.start([response] { response->make(); });
    return response;
}

void ProjectThumbnails::setModel(AppModel* model)
{
    if (m_model == model)
        return;
    m_model = model;
    emit modelChanged();
}

QUrl ProjectThumbnails::source(const QString& projectId, double duration) const
{
    const VideoProject* project = m_model && duration > 0 ? m_model->library()->find(Text::toId(projectId)) : nullptr;
    if (!project)
        return {};
    const auto seen = [](const MediaTrack& track) {
        return track.kind == TrackKind::screen || track.kind == TrackKind::clip;
    };
    const auto track = std::ranges::find_if(project->tracks, seen);
    if (track == project->tracks.end())
        return {};
    try {
        return ThumbnailProvider::address(m_model->store().mediaURL(*project, track->file));
    } catch (const fs::filesystem_error&) {
        return {}; // The track's path leads outside the project folder.
    }
}

} // namespace orvo
