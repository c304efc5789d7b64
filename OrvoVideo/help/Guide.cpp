#include "OrvoVideo/help/Guide.h"

#include "VideoCore/TextSearch.h"

#include <QFile>
#include <QRegularExpression>
#include <algorithm>

namespace orvo {

namespace {

QString resource(const QString& name)
{
    QFile file(QStringLiteral(":/guide/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

Guide::Guide(QObject* parent)
    : QAbstractListModel(parent)
    , m_sections(sectionsOf(resource(QStringLiteral("guia.md")), QStringLiteral("qrc:/guide/")))
{
    find();
}

std::vector<Guide::Section> Guide::sectionsOf(const QString& markdown, const QString& pictures)
{
    static const QRegularExpression picture(QStringLiteral("^!\\[[^\\]]*\\]\\(([^)]+)\\)$"));
    static const QRegularExpression lead(QStringLiteral("^\\*\\*([^*]+?)\\.?\\*\\*"));
    std::vector<Section> sections;
    bool isCode = false;
    const auto lines = markdown.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("```")))
            isCode = !isCode;
        if (!isCode && line.startsWith(QLatin1String("# "))) {
            sections.push_back({.title = line.sliced(2), .isChapter = true});
            continue;
        }
        if (!isCode && line.startsWith(QLatin1String("## "))) {
            sections.push_back({.title = line.sliced(3), .isChapter = true});
            continue;
        }
        const auto begin = isCode ? QRegularExpressionMatch() : lead.match(line);
        if (begin.hasMatch())
            sections.push_back({.title = begin.captured(1)});
        if (sections.empty())
            continue;
        auto& section = sections.back();
        const auto shown = isCode ? QRegularExpressionMatch() : picture.match(line);
        if (shown.hasMatch())
            section.pictures << pictures + shown.captured(1);
        else
            section.text += (begin.hasMatch() ? line.sliced(begin.capturedLength()).trimmed() : line) + QLatin1Char('\n');
    }
    for (auto& section : sections)
        section.text = section.text.trimmed();
    return sections;
}

void Guide::setSearch(const QString& words)
{
    if (m_search == words)
        return;
    m_search = words;
    beginResetModel();
    find();
    endResetModel();
    emit searchChanged();
}

void Guide::find()
{
    const auto plain = [](const QString& text) { return QString::fromStdString(folded(text.toStdString())); };
    const auto words = plain(m_search).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    m_found.clear();
    for (std::size_t i = 0; i < m_sections.size(); ++i) {
        const QString text = plain(m_sections[i].title + QLatin1Char(' ') + m_sections[i].text);
        if (std::ranges::all_of(words, [&](const QString& word) { return text.contains(word); }))
            m_found.push_back(i);
    }
}

QString Guide::version()
{
    return QStringLiteral(ORVO_VERSION);
}

QString Guide::thirdParty()
{
    return resource(QStringLiteral("third-party.md"));
}

int Guide::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_found.size());
}

QVariant Guide::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const Section& section = m_sections[m_found[static_cast<std::size_t>(index.row())]];
    switch (role) {
    case Qt::DisplayRole:
    case TitleRole:
        return section.title;
    case ChapterRole:
        return section.isChapter;
    case TextRole:
        return section.text;
    case PicturesRole:
        return section.pictures;
    default:
        return {};
    }
}

QHash<int, QByteArray> Guide::roleNames() const
{
    return {{TitleRole, "title"}, {ChapterRole, "chapter"}, {TextRole, "text"}, {PicturesRole, "pictures"}};
}

} // namespace orvo
