#pragma once

#include <QPushButton>

// A light's assignment button. Its title may be longer than a column of the
// main screen is wide ("Multiple shots assigned...(Click to View)", a long
// shot name): the button shows as much as fits, cut at the end, while text()
// and the tool tip keep the whole title.
class AssignmentButton : public QPushButton {
    Q_OBJECT

public:
    explicit AssignmentButton(QWidget* parent = nullptr);

    // More characters than the widest button can show.
    static constexpr qsizetype measuredLength = 1000;

protected:
    void paintEvent(QPaintEvent* event) override;
};
