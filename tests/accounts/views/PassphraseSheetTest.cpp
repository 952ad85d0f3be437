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

TEST_F(PassphraseSheetTest, AWrongPassphraseIsSelectedSoThatTypingReplacesIt)
{
    open(PassphraseSheet::Purpose::unlock);
    QTest::keyClicks(fields.front(), QStringLiteral("horse"));
    sheet->setBusy(true, QStringLiteral("Opening the file…"));
    EXPECT_FALSE(fields.front()->hasFocus());
    sheet->setBusy(false);
    EXPECT_TRUE(fields.front()->hasFocus()) << "the focus is back where it was";

    sheet->selectPassphrase();
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("cow"));
    EXPECT_EQ(sheet->currentPassphrase(), Secret("cow"));
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
    EXPECT_TRUE(shows(QStringLiteral("This passphrase is short.")));
    QApplication::processEvents();
    for (const auto* field : fields)
        EXPECT_GE(field->height(), field->sizeHint().height()) << "the note has its own space";
}

TEST_F(PassphraseSheetTest, APassphraseIsChangedOnlyByOneWhoKnowsItAndOnlyToAnother)
{
    open(PassphraseSheet::Purpose::change);
    ASSERT_EQ(fields.size(), 3);
    EXPECT_FALSE(verb()->isEnabled()) << "an empty form changes nothing";
    fields[0]->setText(QStringLiteral("horse"));
    EXPECT_FALSE(verb()->isEnabled()) << "two empty fields are no passphrase";
    for (auto* const field : {fields[1], fields[2]})
        field->setText(QStringLiteral("correct horse battery"));
    EXPECT_TRUE(verb()->isEnabled());
    EXPECT_EQ(sheet->currentPassphrase(), Secret("horse"));
    EXPECT_EQ(sheet->newPassphrase(), Secret("correct horse battery"));
    fields[0]->clear();
    EXPECT_FALSE(verb()->isEnabled());
}

TEST_F(PassphraseSheetTest, ReturnNeverRemovesThePassphrase)
{
    open(PassphraseSheet::Purpose::remove);
    ASSERT_EQ(fields.size(), 1);
    EXPECT_FALSE(verb()->isEnabled());
    bool isAsked = false;
    QObject::connect(sheet.get(), &Sheet::verbTriggered, [&] { isAsked = true; });
    QTest::keyClicks(fields.front(), QStringLiteral("horse"));
    EXPECT_TRUE(verb()->isEnabled());
    QTest::keyClick(fields.front(), Qt::Key_Return);
    EXPECT_FALSE(isAsked);
}

TEST_F(PassphraseSheetTest, AShortPassphraseIsAllowedButNamed)
{
    open(PassphraseSheet::Purpose::set);
    for (const auto& [text, isShort] :
        {std::pair(QStringLiteral("äöüäöüäöüäö"), true), {QStringLiteral("äöüäöüäöüäöü"), false}}) {
        for (auto* const field : fields)
            field->setText(text);
        EXPECT_EQ(shows(QStringLiteral("This passphrase is short.")), isShort);
        EXPECT_TRUE(verb()->isEnabled());
    }
}

TEST_F(PassphraseSheetTest, AForgottenPassphraseLeadsToTheFileToMoveAway)
{
    open(PassphraseSheet::Purpose::unlock);
    EXPECT_TRUE(shows(QStringLiteral("move “/home/user/keys.box” away")));
}
