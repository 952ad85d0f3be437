#pragma once

#include "B2Kit/B2Capability.h"

#include <QScrollArea>

#include <set>

class QCheckBox;

/// Every permission that can be chosen one by one, by group.
class PermissionList final : public QScrollArea {
    Q_OBJECT

public:
    explicit PermissionList(QWidget* parent = nullptr);

    std::set<B2Capability> chosen() const;

    QSize sizeHint() const override;

Q_SIGNALS:
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Item {
        B2Capability capability;
        QCheckBox* box;
    };

    QList<Item> items_;
};
