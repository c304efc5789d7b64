#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QObject>
#include <QPointer>
#include <QQuickAsyncImageProvider>
#include <QThreadPool>
#include <QUrl>
#include <QtQml/qqmlregistration.h>
#include <filesystem>
#include <stop_token>

namespace orvo {

/// Thumbnails of movies: one frame each, made by `ffmpeg` on a separate thread. Cached in the user's cache folder, outside
/// the library, by path, modification time and size of the movie. A movie without frames has a null image.
class ThumbnailProvider final : public QQuickAsyncImageProvider {
public:
    static constexpr auto name = "thumbnails";
    static constexpr int height = 120; ///< Pixels.

    ThumbnailProvider();
    ~ThumbnailProvider() override;

    /// Cancels the running requests and waits for them; later requests return null images. Call before destroying the
    /// engine, which never releases a provider that has a pending response.
    void stop();

    /// The URL of a movie's thumbnail for views.
    static QUrl address(const std::filesystem::path& movie);

    QQuickImageResponse* requestImageResponse(const QString& id, const QSize& requestedSize) override;

private:
    std::stop_source m_stop;
    QThreadPool m_threads;
};

/// Finds the thumbnail of a project.
class ProjectThumbnails : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
public:
    using QObject::QObject;

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);

    /// The URL of a project's thumbnail; empty if it has no video yet. `duration` is the project's duration; passing it
    /// makes a view's binding update when it changes.
    Q_INVOKABLE QUrl source(const QString& projectId, double duration) const;

signals:
    void modelChanged();

private:
    QPointer<AppModel> m_model;
};

} // namespace orvo
