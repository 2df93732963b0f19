#pragma once

#include "model/TallyMode.h"
#include "model/TallySnapshot.h"

#include <QList>
#include <QPointer>
#include <QWidget>

class QLabel;
class TallyState;

// The lights as big as the screen: eight large lamps, each with its number
// and its shots, for a monitor the studio floor can read. It follows what
// the main window's indicators show. F11 or Escape leaves it.
//
// It hides the window's status line, so it says itself what the lamps cannot
// be trusted for: while the source is lost every lamp is hatched and marked
// "LOST" with the time since, and under test "TEST"; a line over the lamps
// says "Source lost for 0:42" or "Testing lights". Always: a studio reading
// this screen has no other place to learn it.
class BigTallyView : public QWidget {
    Q_OBJECT

public:
    explicit BigTallyView(QWidget* parent = nullptr);

    void showLight(qsizetype lightIndex, TallyMode mode, const QString& shotNames);
    // The report's marks, at nowMilliseconds on the report's clock.
    void showReport(const TallySnapshot& snapshot, qint64 nowMilliseconds);
    QString banner() const;
    const QList<QPointer<TallyState>>& lamps() const { return m_lamps; }

Q_SIGNALS:
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QList<QPointer<TallyState>> m_lamps;
    QPointer<QLabel> m_banner;
};
