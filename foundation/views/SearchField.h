#pragma once

#include <QLineEdit>

/// A field that filters or finds: icon, prompt, clear button. Escape empties it; pressed again, it returns the focus.
class SearchField final : public QLineEdit {
    Q_OBJECT

public:
    enum class Purpose { search, filter };

    explicit SearchField(const QString& prompt, Purpose purpose = Purpose::search, QWidget* parent = nullptr);

Q_SIGNALS:
    /// Escape was pressed in the empty field: the owner takes the focus back.
    void left();

protected:
    void keyPressEvent(QKeyEvent* event) override;
};
