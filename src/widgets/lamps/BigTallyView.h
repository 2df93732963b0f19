#pragma once

#include "model/TallyMode.h"

#include <QList>
#include <QPointer>
#include <QWidget>

class TallyState;

// The lights as big as the screen: eight large lamps, each with its number
// and its shots, for a monitor the studio floor can read. It follows what
// the main window's indicators show. F11 or Escape leaves it.
class BigTallyView : public QWidget {
    Q_OBJECT

public:
    explicit BigTallyView(QWidget* parent = nullptr);

    void showLight(qsizetype lightIndex, TallyMode mode, const QString& shotNames);
    const QList<QPointer<TallyState>>& lamps() const { return m_lamps; }

Q_SIGNALS:
    void closed();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QList<QPointer<TallyState>> m_lamps;
};
