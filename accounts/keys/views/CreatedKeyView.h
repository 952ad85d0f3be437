#pragma once

#include "B2Kit/B2Key.h"
#include "accounts/keys/CreatedKeyRules.h"
#include "async/Task.h"
#include "foundation/TaskScope.h"
#include "foundation/views/sheets/Sheet.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

class QCheckBox;
class QLabel;

/// Shows a new key's secret, once only. Stays until the secret was copied or the user confirms that it is safe.
///
/// Wipes its copy of the secret when it is destroyed; copies that the window system keeps are out of reach.
class CreatedKeyView final : public Sheet {
    Q_OBJECT

public:
    /// Stores a key in the program without switching to it. @returns a sentence when that failed.
    using AddKey = std::function<Task<std::optional<std::string>>(B2CreatedApplicationKey)>;

    /// @param add       null where keys cannot be stored; the option is not offered then.
    /// @param keyPlace  where they are stored.
    CreatedKeyView(B2CreatedApplicationKey created, AddKey add, std::string_view keyPlace, QWidget* parent);
    ~CreatedKeyView() override;

    /// Shows that there may be another key of that name; an empty text shows nothing.
    void showTwinNote(const QString& text);

    /// Refused until the secret is safe: Escape, the close button and `close` come here too.
    void reject() override;

private:
    void buildFields(std::string_view keyPlace);
    void copy();
    void render();
    void finish();
    static Task<> store(QPointer<CreatedKeyView> self);

    B2CreatedApplicationKey created_;
    AddKey add_;
    CreatedKeyRules rules_;
    QWidget* twin_;
    QLabel* twinText_;
    QPushButton* copyButton_;
    QCheckBox* acknowledged_;
    QCheckBox* addToKestrovan_;
    TaskScope tasks_;
};
