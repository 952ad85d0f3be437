#include "foundation/views/panes/PaneCommands.h"

#include "foundation/QtText.h"

PaneCommand makeCommand(
    QString title, QString help, const std::optional<std::string>& refusal, std::function<void()> run)
{
    return {.title = std::move(title),
        .isEnabled = !refusal,
        .help = refusal ? toQString(*refusal) : std::move(help),
        .run = std::move(run)};
}
