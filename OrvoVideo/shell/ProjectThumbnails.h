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

/// Small pictures of movies: one frame each, made by `ffmpeg` on a thread of its own and kept in the user's cache folder,
/// outside the library, until the movie changes. A movie without a picture has a null image.
class ThumbnailProvider final : public QQuickAsyncImageProvider {
public:
    static constexpr auto name = "thumbnails";
    static constexpr int height = 120; ///< Pixels.

    ThumbnailProvider();
    ~ThumbnailProvider() override;

    /// Ends what runs and waits for it; what is asked for afterwards has a null image. Called by who ends the engine: it
    /// lets go of its providers only after the last of their answers, which with a picture on its way is never.
    void stop();

    /// The address under which a movie's picture is found by views.
    static QUrl address(const std::filesystem::path& movie);

    QQuickImageResponse* requestImageResponse(const QString& id, const QSize& requestedSize) override;

private:
    std::stop_source m_stop;
    QThreadPool m_threads;
};

/// Finds the picture that stands for a project of the library.
class ProjectThumbnails : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::AppModel* model READ model WRITE setModel NOTIFY modelChanged REQUIRED)
public:
    using QObject::QObject;

    AppModel* model() const { return m_model; }
    void setModel(AppModel* model);

    /// The address of the picture of a project; empty while it has nothing to show. `duration` is the project's: a view
    /// that passes it asks again when it changes.
    Q_INVOKABLE QUrl source(const QString& projectId, double duration) const;

signals:
    void modelChanged();

private:
    QPointer<AppModel> m_model;
};

} // namespace orvo
