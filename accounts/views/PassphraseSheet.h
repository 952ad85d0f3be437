#pragma once

#include "B2Kit/Secret.h"
#include "foundation/views/Sheet.h"

#include <filesystem>
#include <string_view>

class SecretField;

/// The sheet that opens the file in which keys are kept, or sets, changes or takes off the passphrase that closes it.
class PassphraseSheet final : public Sheet {
    Q_OBJECT

public:
    enum class Purpose { unlock, set, change, takeOff };

    /// @param store  the file, named to whoever does not know its passphrase any more.
    PassphraseSheet(Purpose purpose, const std::filesystem::path& store, QWidget* parent);

    /// What opens the file now; empty for `set`.
    Secret currentPassphrase() const;
    /// What is to open it from now on; empty for `unlock` and `takeOff`, and never for the others.
    Secret newPassphrase() const;

    /// Has the passphrase typed anew.
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
