#pragma once

#include "OrvoVideo/model/AppModel.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

namespace orvo {

/// Plays forwards and backwards at several speeds, for the keys J, K and L.
class Shuttle final : public QObject {
    Q_OBJECT
public:
    static constexpr double maxSpeed = 8; ///< A multiple of the normal speed.

    explicit Shuttle(QObject* parent = nullptr);

    void setModel(AppModel* model);

    /// Plays forwards; each further call doubles the speed, up to `maxSpeed`.
    void forward();
    /// Like `forward`, but backwards. Skips cuts.
    void backward();
    void stop();

    /// A multiple of the normal speed: below 0 backwards, 0 when stopped.
    double speed() const;

signals:
    void speedChanged();

private:
    void stepBack();

    QPointer<AppModel> m_model;
    double m_backward = 0; ///< Speed of backward playback; 0 when there is none.
    QTimer m_step;
    QElapsedTimer m_sinceStep;
};

} // namespace orvo
