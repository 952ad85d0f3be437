#pragma once

#include "B2Kit/Secret.h"
#include "foundation/views/sheets/Sheet.h"

#include <filesystem>
#include <string_view>

class SecretField;

/// The sheet that unlocks the file in which keys are kept, or sets, changes or removes its passphrase.
class PassphraseSheet final : public Sheet {
    Q_OBJECT

public:
    enum class Purpose { unlock, set, change, remove };

    /// @param store  the file, shown to users who have forgotten its passphrase.
    PassphraseSheet(Purpose purpose, const std::filesystem::path& store, QWidget* parent);

    /// The present passphrase; empty for `set`.
    Secret currentPassphrase() const;
    /// The next passphrase; empty for `unlock` and `remove`, and never for the others.
    Secret newPassphrase() const;

    /// Selects the passphrase, so that typing replaces it.
    void selectPassphrase();

public Q_SLOTS:
    void done(int result) override;

private:
    SecretField* addField(const QString& label, const QString& name, std::string_view advice = {});
    void render();

    SecretField* current_ = nullptr;
    SecretField* new_ = nullptr;
    SecretField* again_ = nullptr;
};
