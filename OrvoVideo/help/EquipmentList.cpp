#include "OrvoVideo/help/EquipmentList.h"

#include <algorithm>
#include <utility>

namespace orvo {

EquipmentList::EquipmentList(QObject* parent)
    : QAbstractListModel(parent)
{
}

EquipmentList::~EquipmentList()
{
    m_workers.shutDown();
}

void EquipmentList::look()
{
    run();
}

QCoro::Task<> EquipmentList::run()
{
    const int look = ++m_looks;
    setLooking(true);
    std::vector<EquipmentItem> items;
    try {
        items = co_await m_workers.run(
            [name = m_speechModel.toStdString()](const std::stop_token& stop) { return checkEquipment(name, stop); });
    } catch (const Cancelled&) {
        co_return; // Being destroyed.
    }
    if (look != m_looks)
        co_return;
    if (!m_shortcutsText.isEmpty()) {
        const auto own = std::ranges::find(items, EquipmentItem::Kind::shortcuts, &EquipmentItem::kind);
        own->state = std::max(own->state, EquipmentItem::State::limited);
        own->text = m_shortcutsText.toStdString();
        own->advice = "Cámbialos en «Ajustes», «Atajos».";
    }
    if (m_items.size() == items.size()) { // Keeps the rows, and the focus in them.
        m_items = std::move(items);
        emit dataChanged(index(0), index(rowCount() - 1));
    } else {
        beginResetModel();
        m_items = std::move(items);
        endResetModel();
    }
    setLooking(false);
}

bool EquipmentList::complete() const
{
    return std::ranges::none_of(
        m_items, [](const EquipmentItem& item) { return item.state == EquipmentItem::State::missing; });
}

void EquipmentList::setSpeechModel(const QString& name)
{
    if (m_speechModel == name)
        return;
    m_speechModel = name;
    emit speechModelChanged();
}

void EquipmentList::setShortcutsText(const QString& text)
{
    if (m_shortcutsText == text)
        return;
    m_shortcutsText = text;
    emit shortcutsTextChanged();
}

void EquipmentList::setLooking(bool looking)
{
    m_looking = looking;
    emit lookingChanged();
}

int EquipmentList::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_items.size());
}

QVariant EquipmentList::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& item = m_items[static_cast<std::size_t>(index.row())];
    const auto text = [](std::string_view from) {
        return QString::fromUtf8(from.data(), static_cast<qsizetype>(from.size()));
    };
    switch (role) {
    case NameRole:
        return text(EquipmentItem::name(item.kind));
    case Qt::DisplayRole:
    case TitleRole:
        return text(EquipmentItem::title(item.kind));
    case StateRole:
        return text(EquipmentItem::name(item.state));
    case TextRole:
        return text(item.text);
    case AdviceRole:
        return text(item.advice);
    case CommandRole:
        return text(item.command);
    default:
        return {};
    }
}

QHash<int, QByteArray> EquipmentList::roleNames() const
{
    return {{NameRole, "name"}, {TitleRole, "title"}, {StateRole, "itemState"}, {TextRole, "text"}, {AdviceRole, "advice"},
        {CommandRole, "command"}};
}

} // namespace orvo
