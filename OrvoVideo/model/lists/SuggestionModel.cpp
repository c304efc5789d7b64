#include "OrvoVideo/model/lists/SuggestionModel.h"

#include "OrvoVideo/model/ModelText.h"

namespace orvo {

SuggestionModel::SuggestionModel(QObject* parent)
    : RowModel(parent)
{
}

void SuggestionModel::setSuggestions(SharedList<EditSuggestion> suggestions)
{
    replaceRows(m_suggestions, std::move(suggestions), byId<EditSuggestion>());
}

void SuggestionModel::setOutcome(double gain, double resultingLength)
{
    if (m_gain == gain && m_resultingLength == resultingLength)
        return;
    m_gain = gain;
    m_resultingLength = resultingLength;
    emit outcomeChanged();
}

int SuggestionModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_suggestions.size());
}

QVariant SuggestionModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const auto& suggestion = m_suggestions[static_cast<std::size_t>(index.row())];
    switch (role) {
    case SuggestionIdRole:
        return Text::from(suggestion.id);
    case KindRole:
        return Text::from(std::string(textOf(suggestion.kind)));
    case Qt::DisplayRole:
    case LabelRole:
        return Text::from(suggestion.label);
    case StartRole:
        return suggestion.span.start;
    case EndRole:
        return suggestion.span.end;
    default:
        return {};
    }
}

QHash<int, QByteArray> SuggestionModel::roleNames() const
{
    return {{SuggestionIdRole, "suggestionId"}, {KindRole, "kind"}, {LabelRole, "label"}, {StartRole, "start"},
        {EndRole, "end"}};
}

} // namespace orvo
