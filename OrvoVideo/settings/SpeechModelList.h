#pragma once

#include "OrvoVideo/model/Workers.h"
#include "OrvoVideo/transcription/SpeechSpeed.h"

#include <QAbstractListModel>
#include <QCoroTask>
#include <QtQml/qqmlregistration.h>
#include <vector>

namespace orvo {

/// The speech models in the catalogue: size, installation state, and speed on this machine. Main thread only.
class SpeechModelList : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    /// The name of the best model that is fast enough on this machine.
    Q_PROPERTY(QString proposed READ proposed NOTIFY ratesChanged)
    Q_PROPERTY(bool measuring READ measuring NOTIFY measuringChanged)
public:
    enum Role {
        NameRole = Qt::UserRole, ///< The value stored in the settings.
        TextRole, ///< Name, size and installation, for the user.
        InstalledRole,
        DescriptionRole, ///< What the model is good for.
        CostRole, ///< The time for an hour of speech.
        DownloadRole, ///< The size of the download; empty if installed.
    };
    Q_ENUM(Role)

    explicit SpeechModelList(QObject* parent = nullptr);
    ~SpeechModelList() override;

    /// Checks again which models are installed.
    Q_INVOKABLE void refresh();

    /// Measures the largest installed model in the background, unless already measured, and derives the other rates from it.
    Q_INVOKABLE void measure();

    /// The row of a model; -1 if it is not in the catalogue.
    Q_INVOKABLE int rowOf(const QString& name) const;

    QString proposed() const;
    bool measuring() const { return m_measuring; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void ratesChanged();
    void measuringChanged();

private:
    QCoro::Task<> runMeasure();
    void readRates();
    QString costText(std::size_t row) const;

    std::vector<bool> m_installed;
    std::vector<SpeechSpeed::Rate> m_rates;
    bool m_measuring = false;
    Workers m_workers;
};

} // namespace orvo
