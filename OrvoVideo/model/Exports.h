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

/// Renders projects to video files and remembers the last results. Main thread only.
class Exports : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(orvo::ExportChoice* choice READ choice CONSTANT)
    Q_PROPERTY(QString doneName READ doneName NOTIFY doneChanged)
    Q_PROPERTY(double doneBytes READ doneBytes NOTIFY doneChanged)
    Q_PROPERTY(int doneCount READ doneCount NOTIFY doneChanged)
public:
    /// The collaborators of exports; all outlive this object.
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

    /// The settings of the next export.
    ExportChoice* choice() const { return &m_parts.choice; }

    /// Asks for a destination and queues the export of a project of the library as it is now; with `onlySelection` only the
    /// selected span of the open project. Returns at once. Ignored for a project that is being recorded.
    Q_INVOKABLE void exportProject(const QString& projectId, bool onlySelection);
    /// As `exportProject`, for the whole of the open project.
    void exportOpen();

    /// Estimates an export: "duration" and "seconds" in seconds, "bytes", and "fits", false if the chosen size limit is too
    /// small. Empty for a project that the library does not have.
    Q_INVOKABLE QVariantMap estimate(const QString& projectId, bool onlySelection) const;

    /// The exports since `dismiss`: the name and the bytes of the newest, and their number.
    QString doneName() const;
    double doneBytes() const { return m_doneBytes; }
    int doneCount() const { return m_doneCount; }
    Q_INVOKABLE void openDone();
    Q_INVOKABLE void showDone();
    Q_INVOKABLE void dismiss();

signals:
    void doneChanged();
    /// An export is complete: `title` says what was exported, `text` its name and size.
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
    std::filesystem::path m_done; ///< The newest export.
    double m_doneBytes = 0;
    int m_doneCount = 0;
};

} // namespace orvo
