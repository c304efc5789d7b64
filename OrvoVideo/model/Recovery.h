#pragma once

#include "OrvoVideo/model/OpenProject.h"
#include "OrvoVideo/model/Operation.h"
#include "OrvoVideo/model/ProjectLibrary.h"
#include "OrvoVideo/model/Workers.h"
#include "VideoMedia/MediaProbe.h"

#include <QCoroTask>
#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace orvo {

/// Prepares the files of recordings: those of a browser when the library lists them, and those of the open project when the
/// user asks for it. Main thread only.
class Recovery : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString lostTracks READ lostTracks NOTIFY lostTracksChanged)
    Q_PROPERTY(bool errorIsLostTracks READ errorIsLostTracks NOTIFY lostTracksChanged)
public:
    /// What the recovery works with. All of it outlives the recovery.
    struct Parts {
        const ProjectStore& store;
        std::shared_ptr<const MediaProbe> probe;
        OpenProject& open;
        ProjectLibrary& library;
        Operation& operation;
        Workers& workers;
    };
    explicit Recovery(Parts parts);

    /// Prepares all files of the open project anew ("Recuperar grabación"): a long operation.
    Q_INVOKABLE void recover();
    /// The tracks of the open project that the last preparation could not convert, in Spanish; empty without any.
    QString lostTracks() const;
    /// Whether the error message is about those tracks, so that the user can be asked whether to continue without them.
    bool errorIsLostTracks() const;
    /// Takes those tracks out of the open project, which is ready then.
    Q_INVOKABLE void continueWithoutLost();

    /// Prepares the files of a recording; with `force` all of them, otherwise those of a browser and those that cannot be
    /// read. The project is ready then, or "needs-recovery" with an exception that says why.
    QCoro::Task<> process(VideoProject project, bool force, WorkControl control);

signals:
    void lostTracksChanged();

private:
    /// The tracks of a project that could not be prepared.
    struct Lost {
        std::map<Uuid, std::string> reasons; ///< By track.
        QString failure; ///< The error that the user sees.
    };

    void processListed();
    QCoro::Task<> processListed(VideoProject project);
    const Lost* lost() const;
    void setLost(const Uuid& id, Lost lost);

    const Parts m_parts;
    std::set<Uuid> m_processing; ///< Recordings that are being prepared since the library was listed.
    std::map<Uuid, Lost> m_lost; ///< By project.
};

} // namespace orvo
