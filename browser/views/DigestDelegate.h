#pragma once

#include "foundation/views/tables/NameDelegate.h"

/// Draws digests in the font that the model gives them, otherwise like other secondary text.
class DigestDelegate final : public RowDelegate {
    Q_OBJECT

public:
    explicit DigestDelegate(QObject* parent = nullptr);

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    SecondaryTextDelegate plain_;
};
