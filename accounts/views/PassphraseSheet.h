#pragma once

#include "B2Kit/Secret.h"
#include "foundation/views/Sheet.h"

class SecretField;

/// The sheet that opens the file in which keys are kept, or sets the passphrase that closes it.
class PassphraseSheet final : public Sheet {
    Q_OBJECT

public:
    enum class Purpose { unlock, set };

    PassphraseSheet(Purpose purpose, QWidget* parent);

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
