#pragma once

#include "storage/unfinished/UnfinishedUploadsModel.h"

#include <QFrame>

#include <optional>
#include <string>

class ElidedLabel;
class QLabel;
class QPushButton;
class SymbolView;

/// One unfinished upload: its name, its stored parts, and buttons to resume or cancel it.
class UnfinishedUploadRow final : public QFrame {
    Q_OBJECT

public:
    explicit UnfinishedUploadRow(QWidget* parent = nullptr);

    /// @param cancelRefusal  why the key cannot cancel; nothing when it can.
    void show(
        const UnfinishedUploadsModel::Item& item, bool canResume, const std::optional<std::string>& cancelRefusal);
    using QFrame::show;

    const UnfinishedUploadsModel::Item& item() const { return item_; }

Q_SIGNALS:
    void resumeTriggered();
    void cancelTriggered();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    UnfinishedUploadsModel::Item item_;
    ElidedLabel* name_;
    ElidedLabel* text_;
    QPushButton* resume_;
    QPushButton* cancel_;
};
