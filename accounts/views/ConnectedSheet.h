#pragma once

#include "foundation/views/sheets/Sheet.h"

/// Shown once, after the first connection: says that it worked, and where to go on.
class ConnectedSheet final : public Sheet {
    Q_OBJECT

public:
    /// @param text  says which account is connected with which key.
    ConnectedSheet(const QString& text, QWidget* parent);
};
