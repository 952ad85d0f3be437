#pragma once

#include "foundation/views/Sheet.h"

/// What a newcomer sees once, after the first connection: that it worked, and where to go on.
class ConnectedSheet final : public Sheet {
    Q_OBJECT

public:
    /// @param text  which account is connected with which key.
    ConnectedSheet(const QString& text, QWidget* parent);
};
