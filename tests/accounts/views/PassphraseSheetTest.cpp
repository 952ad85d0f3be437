#include "accounts/views/PassphraseSheet.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gmock/gmock.h>

namespace {

class PassphraseSheetTest : public testing::Test {
protected:
    void open(PassphraseSheet::Purpose purpose)
    {
        window.show();
        sheet = std::make_unique<PassphraseSheet>(purpose, &window);
        sheet->open();
        QApplication::setActiveWindow(sheet.get());
        QApplication::processEvents();
        fields = sheet->findChildren<QLineEdit*>();
    }

    QWidget window;
    std::unique_ptr<PassphraseSheet> sheet;
    QList<QLineEdit*> fields;
};

} // namespace

TEST_F(PassphraseSheetTest, AWrongPassphraseIsSelectedToBeTypedAnew)
{
    open(PassphraseSheet::Purpose::unlock);
    QTest::keyClicks(fields.front(), QStringLiteral("horse"));
    sheet->setBusy(true, QStringLiteral("Opening the file…"));
    EXPECT_FALSE(fields.front()->hasFocus());
    sheet->setBusy(false);
    EXPECT_TRUE(fields.front()->hasFocus()) << "the focus is back where it was";

    sheet->selectPassphrase();
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("cow"));
    EXPECT_EQ(sheet->passphrase(), Secret("cow"));
}
