#pragma once

#include <QObject>

class QCoreApplication;

/// Makes Shift+F10 open a context menu, as the Menu key does, which many keyboards lack. Qt handles only the latter
/// here.
class ContextMenuKey final : public QObject {
public:
    /// Serves every window of the program until it is destroyed.
    explicit ContextMenuKey(QCoreApplication& application);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
