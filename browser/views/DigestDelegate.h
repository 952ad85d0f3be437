#pragma once

#include "foundation/views/tables/NameDelegate.h"

/// Digests in the font that the model gives them, else as any other text of lesser weight.
class DigestDelegate final : public RowDelegate {
    Q_OBJECT

public:
    explicit DigestDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    SecondaryTextDelegate plain_;
};
