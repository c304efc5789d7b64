#include "OrvoVideo/settings/SpeechModelList.h"

#include "OrvoVideo/transcription/SpeechModels.h"

namespace orvo {

SpeechModelList::SpeechModelList(QObject* parent)
    : QAbstractListModel(parent)
{
    refresh();
}

void SpeechModelList::refresh()
{
    std::vector<bool> installed;
    for (const auto& model : SpeechModels::catalogue())
        installed.push_back(SpeechModels::installed(model.name).has_value());
    if (installed == m_installed)
        return;
    const bool first = m_installed.empty();
    m_installed = std::move(installed);
    if (!first)
        emit dataChanged(index(0), index(rowCount() - 1), {TextRole, InstalledRole});
}

int SpeechModelList::rowOf(const QString& name) const
{
    const auto models = SpeechModels::catalogue();
    for (std::size_t row = 0; row < models.size(); ++row) {
        if (models[row].name == name.toStdString())
            return static_cast<int>(row);
    }
    return -1;
}

int SpeechModelList::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(SpeechModels::catalogue().size());
}

QVariant SpeechModelList::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto row = static_cast<std::size_t>(index.row());
    const SpeechModel& model = SpeechModels::catalogue()[row];
    switch (role) {
    case NameRole:
        return QString::fromStdString(model.name);
    case Qt::DisplayRole:
    case TextRole:
        return QStringLiteral("%1 · %2 MB%3")
            .arg(QString::fromStdString(model.description))
            .arg((model.size + 500'000) / 1'000'000)
            .arg(m_installed[row] ? QString() : QStringLiteral(" · se descargará"));
    case InstalledRole:
        return bool(m_installed[row]);
    default:
        return {};
    }
}

QHash<int, QByteArray> SpeechModelList::roleNames() const
{
    return {{NameRole, "name"}, {TextRole, "text"}, {InstalledRole, "installed"}};
}

} // namespace orvo
