#pragma once

#include <QAbstractListModel>
#include <QString>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace orvo {

/// The guide for users, docs/guia.md, in sections that can be searched. Main thread only.
class Guide : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    /// Shows only the sections with all of these words, whatever their case and accents.
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(int count READ rowCountNow NOTIFY searchChanged)
    /// The version of the application.
    Q_PROPERTY(QString version READ version CONSTANT)
    /// What others made of it, in Markdown.
    Q_PROPERTY(QString thirdParty READ thirdParty CONSTANT)
public:
    enum Role {
        TitleRole = Qt::UserRole,
        ChapterRole, ///< Whether the section begins a chapter.
        TextRole, ///< Markdown, without its pictures.
        PicturesRole, ///< Their addresses.
    };
    Q_ENUM(Role)

    struct Section {
        QString title;
        bool isChapter = false;
        QString text;
        QStringList pictures;
    };

    explicit Guide(QObject* parent = nullptr);

    /// The sections of a Markdown document: chapters begin with "## ", the sections in them with a bold sentence. Pictures
    /// on lines of their own are taken out of the text, their addresses begin with `pictures`.
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
