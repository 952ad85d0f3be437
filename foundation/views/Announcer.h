#pragma once

class QString;
class QWidget;

/// Lets a screen reader say `text` without moving the focus, for outcomes that are otherwise only visible.
///
/// Costs nothing while no screen reader is active. Called on the main thread.
void announce(QWidget& where, const QString& text);

/// Registers the accessible role of alerts; called by each widget that shows alerts, harmless when repeated.
void registerAlertRole();
