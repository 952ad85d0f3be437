#pragma once

#include "B2Kit/Secret.h"
#include "foundation/views/Sheet.h"

#include <filesystem>

class SecretField;

/// The sheet that opens the file in which keys are kept, or sets or changes the passphrase that closes it.
class PassphraseSheet final : public Sheet {
    Q_OBJECT

public:
    /// An empty passphrase is given with `change` only, and takes the old one off.
    enum class Purpose { unlock, set, change };

    /// @param store  the file, named to whoever does not know its passphrase any more.
    PassphraseSheet(Purpose purpose, const std::filesystem::path& store, QWidget* parent);

    Secret passphrase() const;

    /// Has the passphrase typed anew.
    void selectPassphrase();

public Q_SLOTS:
    void done(int result) override;

private:
    void render();

    Purpose purpose_;
    SecretField* first_;
    SecretField* second_ = nullptr;
};
