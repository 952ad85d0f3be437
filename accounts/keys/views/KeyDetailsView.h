#pragma once

#include "accounts/keys/KeyDetails.h"
#include "foundation/views/sheets/Sheet.h"

/// Shows what a key is and may do. A verb can be set for an action on the key.
class KeyDetailsView final : public Sheet {
    Q_OBJECT

public:
    /// @param inputs  what is known of the key.
    /// @param canUseServiceName  offers to replace the store's name with the one at the service, where they differ.
    KeyDetailsView(const KeyDetailsInputs& inputs, bool canUseServiceName, QWidget* parent);

Q_SIGNALS:
    void useBackblazeName();

private:
    void addText(const QString& label, const std::string& text, const std::string& note = {});
    void addPermissions(const KeyDetails& details);
};
