#include "accounts/views/RenameSheet.h"

#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

namespace {

QPushButton* button(const QWidget& sheet, const QString& text)
{
    for (auto* const found : sheet.findChildren<QPushButton*>()) {
        if (found->text() == text)
            return found;
    }
    return nullptr;
}

} // namespace

TEST(RenameSheetTest, AcceptsATypedNameOrTheOneOfTheService)
{
    QWidget window;
    RenameSheet sheet(QStringLiteral("Rename Key"), QStringLiteral("Why."), QStringLiteral("Old"),
        QStringLiteral("backup-and-archive"), &window);
    QSignalSpy renamed(&sheet, &RenameSheet::renamed);
    window.show();
    sheet.open();
    auto& name = *sheet.findChild<QLineEdit*>();
    auto& verb = *button(sheet, QStringLiteral("Rename"));

    QTest::keyClicks(&name, QStringLiteral("  "));
    EXPECT_FALSE(verb.isEnabled()) << "typing replaces the name, and blanks are not a name";
    EXPECT_EQ(verb.toolTip(), QStringLiteral("Enter a name."));
    QTest::mouseClick(button(sheet, QStringLiteral("Use the name from Backblaze")), Qt::LeftButton);
    QTest::keyClick(&name, Qt::Key_Return);

    ASSERT_EQ(renamed.count(), 1);
    EXPECT_EQ(renamed.front().front().toString(), QStringLiteral("backup-and-archive"));
    EXPECT_FALSE(sheet.isVisible());
    EXPECT_EQ(button(sheet, QStringLiteral("Cancel"))->isDefault(), false);
}

TEST(RenameSheetTest, DoesNotOfferAServiceNameThatIsTheSame)
{
    QWidget window;
    const RenameSheet sheet(QStringLiteral("Rename Key"), {}, QStringLiteral("Same"), QStringLiteral("Same"), &window);
    EXPECT_EQ(button(sheet, QStringLiteral("Use the name from Backblaze")), nullptr);
}
