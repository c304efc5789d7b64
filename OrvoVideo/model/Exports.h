#pragma once

#include "OrvoVideo/model/AppServices.h"
#include "OrvoVideo/model/ExportChoice.h"
#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Saving.h"
#include "OrvoVideo/model/Values.h"
#include "OrvoVideo/model/WorkQueue.h"
#include "OrvoVideo/model/Workers.h"
#include "VideoMedia/ExportPresets.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <filesystem>

namespace orvo {

/// Renders films of projects, and holds what was made last. Main thread only.
class Exports : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(orvo::ExportChoice* choice READ choice CONSTANT)
    Q_PROPERTY(QString doneName READ doneName NOTIFY doneChanged)
    Q_PROPERTY(double doneBytes READ doneBytes NOTIFY doneChanged)
    Q_PROPERTY(int doneCount READ doneCount NOTIFY doneChanged)
public:
    /// What exports work with. All of it outlives this object.
    struct Parts {
        const AppServices& services;
        const RunSettings& settings;
        ExportChoice& choice;
        OpenProject& open;
        Saving& saving;
        ProjectLibrary& library;
        Operation& operation;
        WorkQueue& queue;
        Workers& workers;
    };
    explicit Exports(const Parts& parts);

    /// What the next export is made as.
    ExportChoice* choice() const { return &m_parts.choice; }

    /// Asks where to and renders a project of the library as it is now, after what is exported already; with
    /// `onlySelection` the selected stretch of the open project. Returns at once. Ignored for what is being recorded.
    Q_INVOKABLE void exportProject(const QString& projectId, bool onlySelection);
    /// As `exportProject`, for the whole of the open project.
    void exportOpen();

    /// What an export of this project would take: "duration" and "seconds" in seconds, "bytes", and "fits", false where the
    /// chosen limit of size is too small. Empty for a project that the library does not have.
    Q_INVOKABLE QVariantMap estimate(const QString& projectId, bool onlySelection) const;

    /// The last films that were made since `dismiss`: the name and size of the newest, and how many there are.
    QString doneName() const;
    double doneBytes() const { return m_doneBytes; }
    int doneCount() const { return m_doneCount; }
    Q_INVOKABLE void openDone();
    Q_INVOKABLE void showDone();
    Q_INVOKABLE void dismiss();

signals:
    void doneChanged();
    /// A film was made; what the user should know, and its name and size in words.
    void finished(const QString& title, const QString& text);

private:
    const VideoProject* find(const QString& projectId) const;
    ExportSettings settingsFor(const VideoProject& project, bool onlySelection) const;
    QCoro::Task<> pickDestination(VideoProject project, ExportSettings settings);
    QCoro::Task<> render(
        VideoProject project, std::filesystem::path destination, ExportSettings settings, WorkControl control);
    void noteDone(const VideoProject& project, const std::filesystem::path& file, const ExportSettings& settings,
        double seconds, double bytes);

    const Parts m_parts;
    ExportPace m_pace;
    std::filesystem::path m_done; ///< The newest film.
    double m_doneBytes = 0;
    int m_doneCount = 0;
};

} // namespace orvo
