#pragma once

class QString;
class QWidget;

/// Has a screen reader say `text` without moving the focus: outcomes that are otherwise only seen.
///
/// Costs nothing while no screen reader listens. Main thread.
void announce(QWidget& where, const QString& text);

/// Makes the accessible role of alerts known; called once by those who show alerts, harmless when repeated.
void registerAlertRole();
