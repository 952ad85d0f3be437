#pragma once

#include "accounts/AddKeyModel.h"
#include "foundation/views/sheets/Sheet.h"

#include <functional>
#include <string>

class QLineEdit;
class SecretField;

/// The sheet for adding a key: its name, its id and its secret.
class AddKeyView final : public Sheet {
    Q_OBJECT

public:
    /// @param known  a key seen at the service: its name and id are filled in, and only the secret is asked for.
    AddKeyView(KeyStore& store, std::optional<KnownKey> known, AfterAdding after, QWidget* parent);

    /// Called with the key's id once it is stored, before the sheet closes.
    std::function<void(const std::string& keyID)> onFinished;

public Q_SLOTS:
    void done(int result) override;

private:
    void render();
    void submit();

    AddKeyModel model_;
    QLineEdit* label_;
    QLineEdit* keyID_;
    SecretField* applicationKey_;
    QPushButton* verb_;
    bool wasValidating_ = false;
    bool hasFinished_ = false;
};
