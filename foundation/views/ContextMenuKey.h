#pragma once

#include <QObject>

class QCoreApplication;

/// Shift+F10 asks for a context menu, as the Menu key does, which many keyboards lack. Qt knows the latter alone here.
class ContextMenuKey final : public QObject {
public:
    /// Serves every window of the program until it is destroyed.
    explicit ContextMenuKey(QCoreApplication& application);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
