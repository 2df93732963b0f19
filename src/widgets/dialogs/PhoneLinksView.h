#pragma once

#include "outputs/PhoneLinks.h"

#include <QPointer>
#include <QWidget>

class QLabel;
class QListWidget;

// The addresses phones open to become tallies, each with its QR code: a
// list of every address (a small code beside each) and, for the one chosen
// there, its code large enough to scan from across a desk, with the address
// written under it. The list of lights on the first address is chosen to
// begin with.
class PhoneLinksView : public QWidget {
    Q_OBJECT

public:
    explicit PhoneLinksView(QWidget* parent = nullptr);

    // Shows these links; none shows that the page is not served.
    void setLinks(const QList<PhoneLink>& links);
    const QList<PhoneLink>& links() const { return m_links; }

    // The side, in pixels, of the large code.
    static constexpr int largeCodeSide = 232;

    QPointer<QListWidget> list;
    // The chosen link's code, and its address as text.
    QPointer<QLabel> largeCode;
    QPointer<QLabel> chosenUrl;

private:
    void showChosen(int row);

    QList<PhoneLink> m_links;
};
