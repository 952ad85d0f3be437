#include "shell/tour/Tour.h"

#include "accounts/keys/views/CreatedKeyView.h"
#include "accounts/keys/views/KeyDetailsView.h"
#include "accounts/keys/views/KeysView.h"
#include "accounts/keys/views/NewKeyView.h"
#include "accounts/switcher/views/KeySwitcherHeader.h"
#include "accounts/switcher/views/KeySwitcherPopover.h"
#include "accounts/views/AddKeyView.h"
#include "accounts/views/ConnectedSheet.h"
#include "accounts/views/PassphraseSheet.h"
#include "accounts/views/SecretField.h"
#include "async/Group.h"
#include "foundation/MainExecutor.h"
#include "foundation/QtText.h"
#include "foundation/views/tables/DenseTableView.h"
#include "shell/tour/TourChapter.h"
#include "shell/tour/TourHands.h"
#include "shell/tour/TourProcess.h"
#include "shell/window/DetailArea.h"
#include "shell/window/Sidebar.h"
#include "shell/window/WelcomeView.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>

#include <algorithm>
#include <array>
#include <fstream>

using namespace TourHands;

namespace {

template <class View>
View* shown(const QWidget& window)
{
    for (auto* const view : window.findChildren<View*>()) {
        if (view->isVisible())
            return view;
    }
    return nullptr;
}

void clickButton(const QWidget& parent, const QString& text)
{
    for (auto* const button : parent.findChildren<QAbstractButton*>()) {
        if (button->isVisible() && button->text() == text) {
            click(*button);
            return;
        }
    }
}

} // namespace

Task<> Tour::welcomeANewcomer()
{
    // The chapter reads its keys from a file, as a newcomer reads them from a web page.
    const auto file = application_.demo->scratch() / "keys-of-a-newcomer";
    co_await service_.writeMasterKeys(file);
    const TourProcess::Chapter chapter{"newcomer", "home-of-a-newcomer", file, report_.directory() / "newcomer", false};
    TourProcess newcomer(*application_.demo, chapter);
    // As long as two steps may take.
    for (int i = 0; i < 2; ++i)
        co_await until([&] { return newcomer.hasEnded(); });
    report("a newcomer finds from the welcome to keys of two accounts", newcomer.hasSucceeded(), newcomer.failures());
}

Task<> TourChapter::connectAsNewcomer()
{
    auto& root = *application_.root;
    const auto isOn = [&](const std::string& keyID) {
        const auto session = *root.keyStore.session;
        return session && session->key->keyID == keyID && !root.buckets.buckets->empty();
    };
    std::ifstream stream(file_);
    std::array<std::pair<std::string, std::string>, 2> keys;
    for (auto& [keyID, secret] : keys)
        stream >> keyID >> secret;

    WelcomeView* welcome = nullptr;
    if (!co_await check(
            "meet a newcomer with a welcome", [&] { return (welcome = shown<WelcomeView>(window_)) != nullptr; }))
        co_return;
    co_await picture(window_, "welcome");
    click(welcome->connectButton());
    co_await addKey(keys[0].first, keys[0].second, true);
    co_await check("connect with the first key", [&] { return isOn(keys[0].first); });
    co_await until([&] { return shown<ConnectedSheet>(window_) != nullptr; });
    if (auto* const connected = shown<ConnectedSheet>(window_)) {
        co_await picture(*connected, "connected");
        press(*connected, Qt::Key_Escape);
    } else {
        report("say that the first connection stands", false, "the sheet did not come");
    }
    co_await until([&] { return isListed() && !shown<ConnectedSheet>(window_); });
    co_await picture(window_, "first-window");
    co_await manageKeys();

    spawnAddKey();
    co_await addKey(keys[1].first, keys[1].second, false);
    co_await check("switch to the key of another account", [&] { return isOn(keys[1].first); });
    auto& switcher = window_.sidebar().switcher();
    click(switcher);
    co_await until([&] { return switcher.popover() && switcher.popover()->isVisible(); });
    co_await picture(*switcher.popover(), "two-accounts");
    press(*switcher.popover(), Qt::Key_Escape);
    root.switchTo(keys[0].first);
    co_await check("and back again", [&] { return isOn(keys[0].first); });
    co_await protectKeys();
}

void TourChapter::spawnAddKey()
{
    spawn(MainExecutor::shared(), application_.context->addKey());
}

Task<> TourChapter::addKey(std::string keyID, std::string secret, bool isFirst)
{
    AddKeyView* sheet = nullptr;
    if (!co_await check(isFirst ? "ask for a key" : "ask for a second key",
            [&] { return (sheet = shown<AddKeyView>(window_)) != nullptr; }))
        co_return;
    auto* const field = sheet->findChild<SecretField*>();
    QLineEdit* nameField = nullptr;
    QLineEdit* idField = nullptr;
    for (auto* const line : sheet->findChildren<QLineEdit*>()) {
        if (line->placeholderText() == QStringLiteral("0021234000000000000000001"))
            idField = line;
        if (line->placeholderText() == AddKeyView::tr("As named in B2"))
            nameField = line;
    }
    type(*nameField, isFirst ? QStringLiteral("everything at home") : QStringLiteral("the club"));
    type(*idField, toQString(keyID));
    if (isFirst) {
        type(field->edit(), QStringLiteral("not the secret of this key"));
        clickButton(*sheet, AddKeyView::tr("Add Key"));
        co_await until([&] { return !field->isEmpty() && field->isEnabled(); });
        co_await settle();
        co_await until([&] { return sheet->isVisible() && shown<QPushButton>(*sheet) && idField->isEnabled(); });
        co_await picture(*sheet, "refused-key");
        field->edit().selectAll();
    }
    type(field->edit(), toQString(secret));
    co_await picture(*sheet, isFirst ? "add-key" : "add-second-key");
    clickButton(*sheet, AddKeyView::tr("Add Key"));
    co_await until([&] { return shown<AddKeyView>(window_) == nullptr; });
}

Task<> TourChapter::manageKeys()
{
    const QString name = QStringLiteral("laptop-backup");
    auto& list = window_.sidebar().surfaceList();
    clickRow(list, rowOf(*list.model(), tr("Application Keys")));
    auto& keys = static_cast<KeysView&>(window_.detail().pane(AccountSurface::keys));
    co_await check("list the account's keys", [&] { return keys.isVisible() && keys.table().model()->rowCount() > 0; });
    co_await picture(window_, "keys");

    chooseInMenu(window_, tr("New Application Key…"));
    NewKeyView* sheet = nullptr;
    if (!co_await check("open the sheet of a new key", [&] { return (sheet = shown<NewKeyView>(window_)) != nullptr; }))
        co_return;
    type(*sheet->findChild<QLineEdit*>(), name);
    co_await picture(*sheet, "new-key");
    clickButton(*sheet, NewKeyView::tr("Create Key"));
    CreatedKeyView* created = nullptr;
    if (!co_await check(
            "show the secret of a new key once", [&] { return (created = shown<CreatedKeyView>(window_)) != nullptr; }))
        co_return;
    press(*created, Qt::Key_Escape);
    co_await settle();
    report("and not let it go before it is copied", created->isVisible(), "Escape closed the sheet");
    clickButton(*created, CreatedKeyView::tr("Copy keyName, keyID and applicationKey"));
    for (auto* const box : created->findChildren<QCheckBox*>()) {
        if (box->text() == CreatedKeyView::tr("Add this key to Kestrovan"))
            press(*box, Qt::Key_Space);
    }
    co_await picture(*created, "created-key");
    clickButton(*created, CreatedKeyView::tr("Done"));
    const auto isStored = [&] {
        return std::ranges::any_of(
            *application_.root->keyStore.keys, [](const StoredKey& key) { return key.label == "laptop-backup"; });
    };
    co_await check("store the new key beside the one in use", isStored);
    co_await until([&] { return rowOf(*keys.table().model(), name).isValid(); });
    clickRow(keys.table(), rowOf(*keys.table().model(), name));
    co_await settle();
    chooseInMenu(window_, tr("Show Details"));
    co_await check("show the key's details", [&] { return shown<KeyDetailsView>(window_) != nullptr; });
    if (auto* const details = shown<KeyDetailsView>(window_)) {
        co_await picture(*details, "key-details");
        press(*details, Qt::Key_Escape);
    }
    co_await settle();
    chooseInMenu(window_, tr("Delete"));
    Sheet* question = nullptr;
    co_await check("ask before a key is deleted", [&] { return (question = shown<Sheet>(window_)) != nullptr; });
    if (question) {
        co_await picture(*question, "delete-key");
        for (auto* const button : question->findChildren<QPushButton*>()) {
            if (button->text().startsWith(QStringLiteral("Delete")))
                click(*button);
        }
    }
    co_await check("delete the key", [&] { return !rowOf(*keys.table().model(), name).isValid(); });
    co_await picture(window_, "keys-after");
}

Task<> TourChapter::protectKeys()
{
    const auto& keychain = *application_.keychain;
    PassphraseSheet* sheet = nullptr;
    const auto isOpen = [&] { return (sheet = shown<PassphraseSheet>(window_)) != nullptr; };
    const auto isClosed = [&] { return shown<PassphraseSheet>(window_) == nullptr; };
    chooseInMenu(window_, MainWindow::tr("Protect Keys with a Passphrase…"));
    if (!co_await check("offer a passphrase where there is no keyring", isOpen))
        co_return;
    for (auto* const field : sheet->findChildren<QLineEdit*>())
        type(*field, QStringLiteral("lantern"));
    co_await picture(*sheet, "protect-keys");
    clickButton(*sheet, PassphraseSheet::tr("Set Passphrase"));
    co_await check("close the file of keys with it", [&] { return isClosed() && *keychain.hasPassphrase; });
    co_await picture(window_, "passphrase-set");

    chooseInMenu(window_, MainWindow::tr("Change the Passphrase of Keys…"));
    if (!co_await check("ask for the passphrase before it is changed", isOpen))
        co_return;
    auto* const current = sheet->findChild<QLineEdit*>();
    for (auto* const field : sheet->findChildren<QLineEdit*>())
        type(*field, field == current ? QStringLiteral("wrong") : QStringLiteral("a lantern under seven stairs"));
    clickButton(*sheet, PassphraseSheet::tr("Change Passphrase"));
    co_await check("refuse a wrong one", [&] { return isOpen() && current->hasSelectedText(); });
    co_await picture(*sheet, "change-passphrase");
    press(*sheet, Qt::Key_Escape);
    co_await until(isClosed);

    chooseInMenu(window_, MainWindow::tr("Remove the Passphrase of Keys…"));
    if (!co_await check("ask before the passphrase is removed", isOpen))
        co_return;
    co_await picture(*sheet, "take-off-passphrase");
    press(*sheet, Qt::Key_Escape);
    co_await until(isClosed);
}
