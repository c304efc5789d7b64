#pragma once

#include <QAbstractListModel>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace orvo {

/// The user guide, docs/guia.md, in searchable sections. Main thread only.
class Guide : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    /// Shows only the sections with all of these words, ignoring case and accents.
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(int count READ rowCountNow NOTIFY searchChanged)
    /// The version of the application.
    Q_PROPERTY(QString version READ version CONSTANT)
    /// The notices for third-party components, in Markdown.
    Q_PROPERTY(QString thirdParty READ thirdParty CONSTANT)
public:
    enum Role {
        TitleRole = Qt::UserRole,
        ChapterRole, ///< Whether the section begins a chapter.
        TextRole, ///< Markdown, without its pictures.
        PicturesRole, ///< The URLs of its pictures.
    };
    Q_ENUM(Role)

    struct Section {
        QString title;
        bool isChapter = false;
        QString text;
        QStringList pictures;
    };

    explicit Guide(QObject* parent = nullptr);

    /// Splits a Markdown document into sections. Chapters begin with "# " or "## ", the sections in them with a bold text.
    /// Moves pictures on lines of their own from the text to `Section::pictures`, with the prefix `pictures`.
    static std::vector<Section> sectionsOf(const QString& markdown, const QString& pictures);

    QString search() const { return m_search; }
    void setSearch(const QString& words);
    static QString version();
    static QString thirdParty();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void searchChanged();

private:
    int rowCountNow() const { return rowCount(); }
    void find();

    std::vector<Section> m_sections;
    QString m_search;
    std::vector<std::size_t> m_found; ///< Indices of the shown sections.
};

} // namespace orvo
