#include "shell/window/HelpWindow.h"

#include "foundation/views/Labels.h"
#include "foundation/views/style/Measures.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QMessageBox>
#include <QPointer>
#include <QScrollArea>
#include <QVBoxLayout>

#include <array>

namespace {

struct Shortcut {
    const char* keys;
    const char* meaning;
};

constexpr std::array shortcuts{
    Shortcut{"Enter", QT_TRANSLATE_NOOP("HelpWindow", "Open the folder, or download the file")},
    Shortcut{"Backspace, Alt+Up", QT_TRANSLATE_NOOP("HelpWindow", "Up to the folder above")},
    Shortcut{"Alt+Left, Alt+Right", QT_TRANSLATE_NOOP("HelpWindow", "Back and forward")},
    Shortcut{"Ctrl+L", QT_TRANSLATE_NOOP("HelpWindow", "Type a path")},
    Shortcut{"Ctrl+F", QT_TRANSLATE_NOOP("HelpWindow", "Find among the rows that are loaded")},
    Shortcut{"F5, Ctrl+R", QT_TRANSLATE_NOOP("HelpWindow", "Read the folder from Backblaze again")},
    Shortcut{"Ctrl+U", QT_TRANSLATE_NOOP("HelpWindow", "Upload files")},
    Shortcut{"Ctrl+Shift+U", QT_TRANSLATE_NOOP("HelpWindow", "Upload a folder")},
    Shortcut{"Ctrl+D", QT_TRANSLATE_NOOP("HelpWindow", "Download the selected files and folders")},
    Shortcut{"Ctrl+C, Ctrl+Shift+C", QT_TRANSLATE_NOOP("HelpWindow", "Copy the selected names, or their whole paths")},
    Shortcut{"Ctrl+N", QT_TRANSLATE_NOOP("HelpWindow", "A new key, in the pane of the account's keys")},
    Shortcut{"Ctrl+I, Alt+Enter", QT_TRANSLATE_NOOP("HelpWindow", "Details of the selected key")},
    Shortcut{"F2", QT_TRANSLATE_NOOP("HelpWindow", "Rename the selected key")},
    Shortcut{"Del, Shift+Del", QT_TRANSLATE_NOOP("HelpWindow", "Delete the selected keys")},
    Shortcut{"Ctrl+3", QT_TRANSLATE_NOOP("HelpWindow", "The account's application keys")},
    Shortcut{"Ctrl+Shift+V", QT_TRANSLATE_NOOP("HelpWindow", "All versions, or current files only")},
    Shortcut{"Ctrl+Shift+T", QT_TRANSLATE_NOOP("HelpWindow", "Show or hide the transfers")},
    Shortcut{"F8", QT_TRANSLATE_NOOP("HelpWindow", "Go to the next failed transfer")},
    Shortcut{"Ctrl+K", QT_TRANSLATE_NOOP("HelpWindow", "In the transfers: skip the checksum being calculated")},
    Shortcut{"Ctrl+Shift+L", QT_TRANSLATE_NOOP("HelpWindow", "Activity log")},
    Shortcut{"F6", QT_TRANSLATE_NOOP("HelpWindow", "Next pane")},
    Shortcut{"Ctrl+Q", QT_TRANSLATE_NOOP("HelpWindow", "Quit")},
};

} // namespace

void HelpWindow::open(QWidget* parent)
{
    static QPointer<HelpWindow> window;
    if (!window)
        window = new HelpWindow(parent);
    window->show();
    window->raise();
    window->activateWindow();
}

void HelpWindow::showAbout(QWidget* parent)
{
    auto* const box =
        new QMessageBox(QMessageBox::Information, tr("Kestrovan %1").arg(QCoreApplication::applicationVersion()),
            tr("Runs your whole Backblaze B2 account from your desktop."), QMessageBox::Close, parent);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    box->setIconPixmap(parent->windowIcon().pixmap(48, 48));
    box->open();
}

HelpWindow::HelpWindow(QWidget* parent)
    : QDialog(parent)
{
    setWindowTitle(tr("Kestrovan Help"));
    auto* const content = new QWidget;
    auto* const text = new QVBoxLayout(content);
    text->setContentsMargins(Spacing::wide, Spacing::wide, Spacing::wide, Spacing::wide);
    text->setSpacing(Spacing::small);
    const auto section = [&](const QString& title, const QString& body) {
        text->addWidget(makeLabel(title, TextSize::large, QFont::DemiBold));
        text->addWidget(makeSecondaryLabel(body));
        text->addSpacing(Spacing::small);
    };
    section(tr("Browse"),
        tr("Choose a bucket at the left. “Current” shows one row per file; “All Versions” shows every version and "
           "hide marker that Backblaze stores and bills."));
    section(tr("Upload"),
        tr("Drop files and folders on the table, on a folder or on a step of the path, or press Ctrl+U for files and "
           "Ctrl+Shift+U for a folder. A name that exists gets a new version; the older one stays stored and billed "
           "until it is deleted. Large files go up in parts; parts that arrived are not sent again."));
    section(tr("Download"),
        tr("Select files or folders and press Ctrl+D. Where Backblaze holds a checksum of a file, its bytes are "
           "compared "
           "with it before anything is replaced; the list of transfers says so."));
    section(tr("What happened"),
        tr("The activity log keeps every connection, transfer and failure, with its reason, across restarts."));

    text->addWidget(makeLabel(tr("Keyboard"), TextSize::large, QFont::DemiBold));
    auto* const grid = new QGridLayout;
    grid->setHorizontalSpacing(Spacing::wide);
    grid->setVerticalSpacing(Spacing::tight);
    grid->setColumnStretch(1, 1);
    int row = 0;
    for (const auto& shortcut : shortcuts) {
        grid->addWidget(makeLabel(QString::fromLatin1(shortcut.keys), TextSize::normal, QFont::DemiBold), row, 0);
        grid->addWidget(makeLabel(tr(shortcut.meaning)), row, 1);
        ++row;
    }
    text->addLayout(grid);
    text->addStretch(1);

    auto* const scroll = new QScrollArea(this);
    scroll->setWidget(content);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, Spacing::normal);
    layout->addWidget(scroll, 1);
    layout->addWidget(buttons);
    buttons->setContentsMargins(Spacing::normal, 0, Spacing::normal, 0);
    resize(560, 640);
}
