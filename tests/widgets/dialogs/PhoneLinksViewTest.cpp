// The phone links with their QR codes, each code read back by an
// independent reader (zbarimg) to the address it stands for.

#include "dialogs/PhoneLinksView.h"

#include "dialogs/QrCodeImage.h"
#include "outputs/QrCode.h"
#include "support/QrReader.h"
#include "support/QtPrinters.h"

#include <QLabel>
#include <QListWidget>
#include <QPixmap>

#include <gtest/gtest.h>

namespace {

class PhoneLinksViewTest : public QrReader::Test {
protected:
    std::optional<QString> scan(const QImage& picture)
    {
        return QrReader::Test::scan(
            QStringLiteral("code.png"), [&picture](const QString& path) { return picture.save(path); });
    }
};

} // namespace

TEST_F(PhoneLinksViewTest, ACodesPictureReadsBackAsItsAddress)
{
    const QString url = QStringLiteral("http://192.168.1.20:8080/light/7");
    const std::optional<QrCode> code = QrCode::encode(url);
    ASSERT_TRUE(code.has_value());
    const QImage picture = QrCodeImage::render(*code, 5);
    EXPECT_EQ(picture.width(), (code->size() + 2 * QrCode::quietZone) * 5);
    // The margin is white, the finder pattern's corner black.
    EXPECT_EQ(picture.pixelColor(2, 2), QColor(Qt::white));
    EXPECT_EQ(picture.pixelColor(QrCode::quietZone * 5 + 1, QrCode::quietZone * 5 + 1), QColor(Qt::black));
    EXPECT_EQ(scan(picture), url);
}

TEST_F(PhoneLinksViewTest, TheModuleSizeIsTheLargestThatFits)
{
    const std::optional<QrCode> code = QrCode::encode(QStringLiteral("http://10.0.0.5:8080/"));
    ASSERT_TRUE(code.has_value());
    const int modules = code->size() + 2 * QrCode::quietZone;
    EXPECT_EQ(QrCodeImage::modulePixelsToFit(*code, modules * 6 + 5), 6);
    EXPECT_EQ(QrCodeImage::modulePixelsToFit(*code, 3), 1);
}

TEST_F(PhoneLinksViewTest, EveryLinkIsListedWithItsCodeAndTheChosenOneShowsLargeAndReadsBack)
{
    PhoneLinksView view;
    view.setLinks(PhoneLinks::forPages({ QStringLiteral("http://192.168.1.20:8080/") }, 8));
    ASSERT_EQ(view.list->count(), 9);
    for (int row = 0; row < view.list->count(); ++row) {
        EXPECT_FALSE(view.list->item(row)->icon().isNull()) << row;
    }
    EXPECT_EQ(view.list->currentRow(), 0);
    EXPECT_EQ(scan(view.largeCode->pixmap().toImage()), QStringLiteral("http://192.168.1.20:8080/"));

    view.list->setCurrentRow(3);
    EXPECT_EQ(view.chosenUrl->text(), QStringLiteral("Light 3\nhttp://192.168.1.20:8080/light/3"));
    EXPECT_EQ(scan(view.largeCode->pixmap().toImage()), QStringLiteral("http://192.168.1.20:8080/light/3"));
    // The small code beside a row reads back too.
    const QImage small = view.list->item(5)->icon().pixmap(48, 48).toImage();
    EXPECT_EQ(scan(small.scaled(small.size() * 4)), QStringLiteral("http://192.168.1.20:8080/light/5"));
}

TEST_F(PhoneLinksViewTest, WithoutThePageItSaysHowToTurnItOn)
{
    PhoneLinksView view;
    view.setLinks({});
    EXPECT_EQ(view.list->count(), 0);
    EXPECT_TRUE(view.largeCode->pixmap().isNull());
    EXPECT_EQ(
        view.chosenUrl->text(), QStringLiteral("The web tally page is off. Outputs ▸ Network Outputs… turns it on."));
}
