#pragma once

#include "accounts/keys/KeyDetails.h"
#include "foundation/views/Sheet.h"

/// What a key is and may do, to be read. With a verb set, that is done with the key.
class KeyDetailsView final : public Sheet {
    Q_OBJECT

public:
    /// @param inputs  what is known of the key.
    /// @param canTakeName  offers to replace the store's name by the one at the service, where they differ.
    KeyDetailsView(const KeyDetailsInputs& inputs, bool canTakeName, QWidget* parent);

Q_SIGNALS:
    void useBackblazeName();

private:
    void addText(const QString& label, const std::string& text, const std::string& note = {});
    void addPermissions(const KeyDetails& details);
};
