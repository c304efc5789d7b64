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

/// Prepares the media files of recordings: browser recordings when the library lists them, the open project when the user
/// asks. Main thread only.
class Recovery : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
    Q_PROPERTY(QString lostTracks READ lostTracks NOTIFY lostTracksChanged)
    Q_PROPERTY(bool errorIsLostTracks READ errorIsLostTracks NOTIFY lostTracksChanged)
public:
    /// The collaborators of the recovery; all outlive it.
    struct Parts {
        const ProjectStore& store;
        std::shared_ptr<const MediaProbe> probe;
        OpenProject& open;
        ProjectLibrary& library;
        Operation& operation;
        Workers& workers;
    };
    explicit Recovery(Parts parts);

    /// Prepares all files of the open project again ("Recuperar grabación"): a long operation.
    Q_INVOKABLE void recover();
    /// Names, in Spanish, the tracks of the open project that the last preparation could not convert; empty without any.
    QString lostTracks() const;
    /// Whether the error message is about those tracks, so that the window can offer to continue without them.
    bool errorIsLostTracks() const;
    /// Removes those tracks from the open project, which makes it ready.
    Q_INVOKABLE void continueWithoutLost();

    /// Prepares the files of a recording: all with `force`, otherwise only browser and unreadable files. Sets the state of
    /// the project to ready, or to "needs-recovery" and throws the reason.
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
    std::set<Uuid> m_processing; ///< Listed recordings in preparation.
    std::map<Uuid, Lost> m_lost; ///< By project.
};

} // namespace orvo
