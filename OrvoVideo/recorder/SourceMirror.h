#pragma once

#include "OrvoVideo/model/CaptureChoice.h"
#include "OrvoVideo/model/Workers.h"

#include <QCoroTask>
#include <QImage>
#include <QPointer>
#include <QQuickPaintedItem>
#include <QTimer>

namespace orvo {

/// Shows the content of a source while visible, updated once per second.
class SourceMirror : public QQuickPaintedItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(orvo::CaptureChoice* choice READ choice WRITE setChoice NOTIFY choiceChanged)
    /// The source in `choice`.
    Q_PROPERTY(QString sourceId READ sourceId WRITE setSourceId NOTIFY sourceIdChanged)
    /// Whether an image is shown.
    Q_PROPERTY(bool showing READ showing NOTIFY showingChanged)
public:
    explicit SourceMirror(QQuickItem* parent = nullptr);
    ~SourceMirror() override;

    CaptureChoice* choice() const { return m_choice; }
    void setChoice(CaptureChoice* choice);
    QString sourceId() const { return m_sourceId; }
    void setSourceId(const QString& id);
    bool showing() const { return !m_frame.isNull(); }

    void paint(QPainter* painter) override;

signals:
    void choiceChanged();
    void sourceIdChanged();
    void showingChanged();

protected:
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    void look();
    QCoro::Task<> take(CaptureSource source);
    void show(const QImage& frame);

    QPointer<CaptureChoice> m_choice;
    QString m_sourceId;
    QImage m_frame;
    QTimer m_clock;
    bool m_taking = false;
    Workers m_workers;
};

} // namespace orvo
