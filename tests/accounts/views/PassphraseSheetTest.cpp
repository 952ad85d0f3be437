#include "accounts/views/PassphraseSheet.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

class PassphraseSheetTest : public testing::Test {
protected:
    void open(PassphraseSheet::Purpose purpose)
    {
        window.show();
        sheet = std::make_unique<PassphraseSheet>(purpose, "/home/user/keys.box", &window);
        sheet->open();
        QApplication::setActiveWindow(sheet.get());
        QApplication::processEvents();
        fields = sheet->findChildren<QLineEdit*>();
    }

    bool shows(const QString& text)
    {
        const auto labels = sheet->findChildren<QLabel*>();
        return std::ranges::any_of(
            labels, [&](const QLabel* label) { return label->isVisible() && label->text().contains(text); });
    }

    QPushButton* verb()
    {
        for (auto* const button : sheet->findChildren<QPushButton*>()) {
            if (button->text() != QStringLiteral("Cancel"))
                return button;
        }
        return nullptr;
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

TEST_F(PassphraseSheetTest, ANewPassphraseIsTypedTwiceAndASlipIsNamed)
{
    open(PassphraseSheet::Purpose::set);
    EXPECT_TRUE(fields.front()->hasFocus());
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("horse"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(fields.back()->hasFocus()) << "the next field, not the button that shows the first";
    const auto slip = QStringLiteral("The two passphrases are not the same.");
    EXPECT_FALSE(shows(slip));

    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("hors"));
    EXPECT_TRUE(shows(slip));
    EXPECT_FALSE(verb()->isEnabled());
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("e"));
    EXPECT_FALSE(shows(slip));
    EXPECT_TRUE(verb()->isEnabled());
}

TEST_F(PassphraseSheetTest, AnOldPassphraseIsChangedOrTakenOffOnlyByEmptyFields)
{
    open(PassphraseSheet::Purpose::change);
    EXPECT_EQ(verb()->text(), QStringLiteral("Take Off Passphrase"));
    EXPECT_TRUE(verb()->isEnabled());
    for (const auto* const slip : {"  ", "horse"}) {
        fields.front()->setText(QString::fromLatin1(slip));
        EXPECT_EQ(verb()->text(), QStringLiteral("Change Passphrase"));
        EXPECT_FALSE(verb()->isEnabled());
    }
    fields.back()->setText(QStringLiteral("horse"));
    EXPECT_TRUE(verb()->isEnabled());
    fields.front()->clear();
    EXPECT_FALSE(verb()->isEnabled()) << "one empty field takes nothing off";
}

TEST_F(PassphraseSheetTest, WhoHasForgottenThePassphraseReadsWhichFileToMoveAway)
{
    open(PassphraseSheet::Purpose::unlock);
    EXPECT_TRUE(shows(QStringLiteral("move “/home/user/keys.box” away")));
}
