#include "dialogs/PhoneLinksView.h"

#include "dialogs/QrCodeImage.h"
#include "outputs/QrCode.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPixmap>
#include <QVBoxLayout>

namespace {

constexpr int smallCodeSide = 48;

QPixmap codePixmap(const QString& url, int side)
{
    const std::optional<QrCode> code = QrCode::encode(url);
    if (!code) {
        return {};
    }
    return QPixmap::fromImage(QrCodeImage::render(*code, QrCodeImage::modulePixelsToFit(*code, side)));
}

} // namespace

PhoneLinksView::PhoneLinksView(QWidget* parent)
    : QWidget(parent)
{
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    list = new QListWidget(this);
    list->setObjectName(QStringLiteral("phoneLinks"));
    list->setIconSize(QSize(smallCodeSide, smallCodeSide));
    list->setMinimumWidth(320);
    layout->addWidget(list, 1);

    auto* chosen = new QVBoxLayout;
    largeCode = new QLabel(this);
    largeCode->setObjectName(QStringLiteral("phoneLinkCode"));
    largeCode->setFixedSize(largeCodeSide, largeCodeSide);
    largeCode->setAlignment(Qt::AlignCenter);
    chosenUrl = new QLabel(this);
    chosenUrl->setObjectName(QStringLiteral("phoneLinkUrl"));
    chosenUrl->setTextFormat(Qt::PlainText);
    chosenUrl->setTextInteractionFlags(Qt::TextSelectableByMouse);
    chosenUrl->setAlignment(Qt::AlignHCenter);
    chosenUrl->setWordWrap(true);
    chosenUrl->setMaximumWidth(largeCodeSide);
    chosen->addWidget(largeCode);
    chosen->addWidget(chosenUrl);
    chosen->addStretch();
    layout->addLayout(chosen);

    connect(list, &QListWidget::currentRowChanged, this, &PhoneLinksView::showChosen);
    setLinks({});
}

void PhoneLinksView::setLinks(const QList<PhoneLink>& links)
{
    m_links = links;
    list->clear();
    for (const PhoneLink& link : links) {
        auto* item = new QListWidgetItem(
            QIcon(codePixmap(link.url, smallCodeSide)), link.label() + QLatin1Char('\n') + link.url, list);
        item->setToolTip(link.url);
    }
    if (links.isEmpty()) {
        showChosen(-1);
        return;
    }
    list->setCurrentRow(0);
    showChosen(0);
}

void PhoneLinksView::showChosen(int row)
{
    if (row < 0 || row >= m_links.size()) {
        largeCode->clear();
        chosenUrl->setText(tr("The web tally page is off. Outputs ▸ Network Outputs… turns it on."));
        return;
    }
    largeCode->setPixmap(codePixmap(m_links.at(row).url, largeCodeSide));
    chosenUrl->setText(m_links.at(row).label() + QLatin1Char('\n') + m_links.at(row).url);
}
