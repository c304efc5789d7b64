#pragma once

#include "OrvoVideo/model/lists/RowModel.h"
#include "VideoCore/VideoProject.h"

#include <map>
#include <optional>

namespace orvo {

/// The library, newest first, one row per project.
class LibraryModel : public RowModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the model")
public:
    enum Role {
        ProjectIdRole = Qt::UserRole, ///< Text form of the identifier.
        TitleRole,
        CreatedAtRole, ///< Date and time.
        DurationRole, ///< Seconds before cuts.
        PlayableDurationRole, ///< Seconds after cuts.
        StateRole, ///< As in the document.
        StateTextRole, ///< In Spanish.
        RecoverableRole, ///< Whether the user has to recover the recording.
        OpenRole, ///< Whether this is the open project.
        UpdatedAtRole, ///< Date and time of the last change.
        BytesRole, ///< Bytes on disk; 0 until known.
        FailureRole, ///< Why the project's import failed; empty for other projects.
    };
    Q_ENUM(Role)

    explicit LibraryModel(QObject* parent = nullptr);

    const SharedList<VideoProject>& projects() const noexcept { return m_projects; }
    void setProjects(SharedList<VideoProject> projects);

    /// Replaces the project with the same identifier. Returns false without one.
    bool replace(const VideoProject& project);

    /// Facts of a project that are not in its document.
    struct DiskFacts {
        double bytes = 0;
        QString failure;

        friend bool operator==(const DiskFacts&, const DiskFacts&) = default;
    };
    /// Replaces the facts of these projects.
    void setDiskFacts(const std::map<Uuid, DiskFacts>& facts);

    /// Sets which project is shown as open.
    void setOpen(const std::optional<Uuid>& id);

    /// The project with this identifier; null without one. Valid until the list changes.
    const VideoProject* find(const Uuid& id) const;

    /// The title of a project; empty for an unknown identifier.
    Q_INVOKABLE QString titleOf(const QString& projectId) const;

    /// The row of the open project, or -1.
    Q_INVOKABLE int openRow() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    int rowOf(const Uuid& id) const;

    SharedList<VideoProject> m_projects;
    std::map<Uuid, DiskFacts> m_diskFacts;
    std::optional<Uuid> m_open;
};

} // namespace orvo
