#include "accounts/keys/views/CreatedKeyView.h"

#include "foundation/QtText.h"
#include "foundation/views/SecretClipboard.h"
#include "tests/accounts/views/SheetParts.h"
#include "tests/support/QtRun.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(CreatedKeyViewTest, NothingClosesItBeforeTheSecretIsSafe)
{
    QWidget window;
    window.show();
    CreatedKeyView sheet(createdKey(), nullptr, "an encrypted file of your own", &window);
    sheet.open();

    QTest::keyClick(&sheet, Qt::Key_Escape);
    EXPECT_FALSE(sheet.close());
    sheet.reject();
    EXPECT_TRUE(sheet.isVisible());
    EXPECT_FALSE(buttonOf(sheet, QStringLiteral("Done"))->isEnabled());

    auto* const box = boxOf(sheet, QStringLiteral("I have saved"));
    box->setChecked(true);
    EXPECT_TRUE(buttonOf(sheet, QStringLiteral("Done"))->isEnabled());
    box->setChecked(false);
    QTest::keyClick(&sheet, Qt::Key_Escape);
    EXPECT_TRUE(sheet.isVisible());

    buttonOf(sheet, QStringLiteral("Copy keyName, keyID and applicationKey"))->click();
    const auto* const copied = QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(
        fromQString(copied->text()), "keyName: backup\nkeyID: 0044a1b2c3d4e5f0000000007\napplicationKey: K004secret");
    EXPECT_EQ(copied->data(QStringLiteral("x-kde-passwordManagerHint")), "secret");
    QTest::keyClick(&sheet, Qt::Key_Escape);
    EXPECT_FALSE(sheet.isVisible());
}

TEST(CreatedKeyViewTest, AKeyThatCannotBeStoredKeepsItsSheet)
{
    QWidget window;
    window.show();
    int calls = 0;
    auto add = [&calls](B2CreatedApplicationKey key) {
        auto answer = [](int call, std::string secret) -> Task<std::optional<std::string>> {
            co_await yieldToOthers();
            co_return call == 1 && secret == "K004secret" ? std::optional<std::string>("The keyring is locked.")
                                                          : std::nullopt;
        };
        return answer(++calls, key.applicationKey);
    };
    CreatedKeyView sheet(createdKey(), add, "an encrypted file of your own", &window);
    EXPECT_THAT(fromQString(textsOf(sheet)), HasSubstr("Stored in an encrypted file of your own so Kestrovan"));
    sheet.open();
    boxOf(sheet, QStringLiteral("I have saved"))->setChecked(true);
    boxOf(sheet, QStringLiteral("Add this key"))->setChecked(true);

    buttonOf(sheet, QStringLiteral("Done"))->click();
    ASSERT_TRUE(spinUntil([&] { return textsOf(sheet).contains(QStringLiteral("Could not store")); }));
    EXPECT_THAT(fromQString(textsOf(sheet)),
        HasSubstr("Could not store the key: The keyring is locked. Copy it before closing this."));
    EXPECT_TRUE(sheet.isVisible());

    buttonOf(sheet, QStringLiteral("Done"))->click();
    EXPECT_TRUE(spinUntil([&] { return !sheet.isVisible(); }));
    EXPECT_EQ(calls, 2);
}

TEST(SecretClipboardTest, RemovesOnlyItsOwnSecret)
{
    auto* const clipboard = QGuiApplication::clipboard();
    SecretClipboard secrets(nullptr, std::chrono::milliseconds(30));

    secrets.copy(QStringLiteral("K004secret"));
    Q_EMIT clipboard->dataChanged(); // Some desktops report the program's own copy, and late.
    EXPECT_TRUE(secrets.isOurs());
    ASSERT_TRUE(spinUntil([&] { return clipboard->text().isEmpty(); }, std::chrono::seconds(2)));

    secrets.copy(QStringLiteral("K004secret"));
    clipboard->setText(QStringLiteral("something else"));
    EXPECT_FALSE(secrets.isOurs());
    QTest::qWait(60);
    EXPECT_EQ(clipboard->text(), QStringLiteral("something else"));

    secrets.copy(QStringLiteral("first"));
    QTest::qWait(20);
    secrets.copy(QStringLiteral("second"));
    QTest::qWait(20);
    EXPECT_EQ(clipboard->text(), QStringLiteral("second")) << "the time starts again";
    Q_EMIT qApp->aboutToQuit({});
    EXPECT_EQ(clipboard->text(), QString());
}
