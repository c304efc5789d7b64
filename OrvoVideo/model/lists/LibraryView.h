#pragma once

#include "OrvoVideo/model/lists/LibraryModel.h"

#include <QSortFilterProxyModel>
#include <string>

namespace orvo {

/// The library filtered by title and sorted, for a view.
class LibraryView : public QSortFilterProxyModel {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::LibraryModel* library READ library WRITE setLibrary NOTIFY libraryChanged REQUIRED)
    Q_PROPERTY(QString search READ search WRITE setSearch NOTIFY searchChanged)
    Q_PROPERTY(QString order READ order WRITE setOrder NOTIFY orderChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
public:
    explicit LibraryView(QObject* parent = nullptr);

    LibraryModel* library() const { return m_library; }
    void setLibrary(LibraryModel* library);

    /// Part of a title, ignoring case and accents; empty shows all projects.
    const QString& search() const { return m_search; }
    void setSearch(const QString& search);

    /// "created", "updated", "title", "duration" or "size"; ignores any other word.
    QString order() const { return m_order; }
    void setOrder(const QString& order);

    int count() const { return rowCount(); }
    /// The identifier of the project in a row; empty if the row does not exist.
    Q_INVOKABLE QString idAt(int row) const;
    /// The row of a project, or -1.
    Q_INVOKABLE int rowOf(const QString& projectId) const;

signals:
    void libraryChanged();
    void searchChanged();
    void orderChanged();
    void countChanged();

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
    bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

private:
    LibraryModel* m_library = nullptr;
    QString m_search;
    std::string m_folded; ///< `m_search` without case and accents.
    QString m_order = QStringLiteral("created");
};

} // namespace orvo
