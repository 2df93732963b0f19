#include "dialogs/PhoneLinksDialog.h"

#include "dialogs/PhoneLinksView.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QVBoxLayout>

PhoneLinksDialog::PhoneLinksDialog(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Phone Links"));
    setWindowModality(Qt::NonModal);
    auto* layout = new QVBoxLayout(this);
    auto* hint = new QLabel(tr("Scan a code with a phone on the studio network to make it a tally light."), this);
    hint->setWordWrap(true);
    layout->addWidget(hint);
    view = new PhoneLinksView(this);
    layout->addWidget(view, 1);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
}

void PhoneLinksDialog::setLinks(const QList<PhoneLink>& links)
{
    view->setLinks(links);
}
