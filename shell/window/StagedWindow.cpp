#include "shell/window/StagedWindow.h"

#include <QEvent>
#include <QScreen>

namespace {

/// Room for the title bar and borders, whose size is unknown before the window shows.
constexpr QSize frame(12, 44);

} // namespace

StagedWindow::StagedWindow(QWidget& window, Settings& settings, std::string key, QSize firstSize)
    : QObject(&window)
    , window_(window)
    , settings_(settings)
    , key_(std::move(key))
{
    const auto stored = settings.text(key_);
    if (!stored || !window.restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(*stored))))
        window.resize(firstSize.boundedTo(window.screen()->availableSize() - frame));
    window.installEventFilter(this);
}

bool StagedWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Hide || event->type() == QEvent::Close)
        save();
    return QObject::eventFilter(watched, event);
}

void StagedWindow::save()
{
    settings_.set(key_, window_.saveGeometry().toBase64().toStdString());
}
