#include "OrvoVideo/model/lists/LibraryModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

LibraryModel::LibraryModel(QObject* parent)
    : RowModel(parent)
{
}

void LibraryModel::setProjects(SharedList<VideoProject> projects)
{
    // Compares only shown fields: comparing the documents of a large library takes long.
    const auto differs = [before = m_projects, after = projects](std::size_t i, std::size_t j) {
        const auto& a = before[i];
        const auto& b = after[j];
        return a.title != b.title || a.createdAt != b.createdAt || a.duration != b.duration || a.state != b.state
            || a.updatedAt != b.updatedAt || a.edit.cuts != b.edit.cuts;
    };
    replaceRows(m_projects, std::move(projects), byId<VideoProject>(), differs);
}

bool LibraryModel::replace(const VideoProject& project)
{
    const int row = rowOf(project.id);
    if (row < 0)
        return false;
    m_projects.edit()[static_cast<std::size_t>(row)] = project;
    emit dataChanged(index(row), index(row));
    return true;
}

void LibraryModel::setDiskFacts(const std::map<Uuid, DiskFacts>& facts)
{
    for (int row = 0; row < rowCount(); ++row) {
        const auto found = facts.find(m_projects[static_cast<std::size_t>(row)].id);
        if (found == facts.end() || std::exchange(m_diskFacts[found->first], found->second) == found->second)
            continue;
        emit dataChanged(index(row), index(row), {BytesRole, FailureRole});
    }
}

void LibraryModel::setOpen(const std::optional<Uuid>& id)
{
    if (m_open == id)
        return;
    const auto before = std::exchange(m_open, id);
    for (int row = 0; row < rowCount(); ++row) {
        const auto& shown = m_projects[static_cast<std::size_t>(row)].id;
        if (shown == before || shown == m_open)
            emit dataChanged(index(row), index(row), {OpenRole});
    }
}

const VideoProject* LibraryModel::find(const Uuid& id) const
{
    const int row = rowOf(id);
    return row < 0 ? nullptr : &m_projects[static_cast<std::size_t>(row)];
}

QString LibraryModel::titleOf(const QString& projectId) const
{
    const auto* project = find(Text::toId(projectId));
    return project ? Text::from(project->title) : QString();
}

int LibraryModel::openRow() const
{
    return m_open ? rowOf(*m_open) : -1;
}

int LibraryModel::rowOf(const Uuid& id) const
{
    const auto found = std::ranges::find(m_projects, id, &VideoProject::id);
    return found == m_projects.end() ? -1 : static_cast<int>(found - m_projects.begin());
}

int LibraryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_projects.size());
}

QVariant LibraryModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& project = m_projects[static_cast<std::size_t>(index.row())];
    switch (role) {
    case ProjectIdRole:
        return Text::from(project.id);
    case Qt::DisplayRole:
    case TitleRole:
        return Text::from(project.title);
    case CreatedAtRole:
        return Text::from(project.createdAt);
    case DurationRole:
        return project.duration;
    case PlayableDurationRole:
        return project.playableDuration();
    case StateRole:
        return Text::from(project.state);
    case StateTextRole:
        return Text::ofState(project.state);
    case RecoverableRole:
        return Text::isRecoverable(project.state);
    case OpenRole:
        return m_open == project.id;
    case UpdatedAtRole:
        return Text::from(project.updatedAt);
    case BytesRole:
    case FailureRole: {
        const auto facts = m_diskFacts.find(project.id);
        if (role == FailureRole)
            return facts == m_diskFacts.end() ? QString() : facts->second.failure;
        return facts == m_diskFacts.end() ? 0.0 : facts->second.bytes;
    }
    default:
        return {};
    }
}

QHash<int, QByteArray> LibraryModel::roleNames() const
{
    return {{ProjectIdRole, "projectId"}, {TitleRole, "title"}, {CreatedAtRole, "createdAt"}, {DurationRole, "duration"},
        {PlayableDurationRole, "playableDuration"}, {StateRole, "state"}, {StateTextRole, "stateText"},
        {RecoverableRole, "recoverable"}, {OpenRole, "open"}, {UpdatedAtRole, "updatedAt"}, {BytesRole, "bytes"},
        {FailureRole, "failure"}};
}

} // namespace orvo
