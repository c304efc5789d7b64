#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

namespace orvo {

/// Plays forwards and backwards at several speeds, as the keys J, K and L have it.
class Shuttle final : public QObject {
    Q_OBJECT
public:
    static constexpr double fastest = 8; ///< Times the normal speed.

    explicit Shuttle(QObject* parent = nullptr);

    void setModel(AppModel* model);

    /// Plays forwards; when it does already, twice as fast.
    void forward();
    /// The same backwards. Cuts are jumped over.
    void backward();
    void stop();

    /// Times the normal speed, below 0 backwards, 0 when it stands.
    double speed() const;

signals:
    void speedChanged();

private:
    void stepBack();

    QPointer<AppModel> m_model;
    double m_backward = 0; ///< Speed of playing backwards; 0 when it does not.
    QTimer m_step;
    QElapsedTimer m_sinceStep;
};

} // namespace orvo
