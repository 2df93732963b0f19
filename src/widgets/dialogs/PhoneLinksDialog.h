#pragma once

#include "outputs/PhoneLinks.h"

#include <QDialog>
#include <QPointer>

class PhoneLinksView;

// View > Phone Links: the addresses phones open to become tallies, with
// their QR codes, in a window of their own that can stay open beside the
// main window. Modeless: the lights and the main window go on as usual.
class PhoneLinksDialog : public QDialog {
    Q_OBJECT

public:
    explicit PhoneLinksDialog(QWidget* parent = nullptr);

    void setLinks(const QList<PhoneLink>& links);

    QPointer<PhoneLinksView> view;
};
