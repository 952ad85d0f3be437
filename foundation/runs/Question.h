#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A question before something that cannot simply be taken back. A value: models make it, `QuestionSheet` shows it.
struct Question {
    std::string title;
    std::string text;
    std::vector<std::string> consequences; ///< A line each, under the text.
    std::string verb;                      ///< The button that does it, with its count: "Delete 3 Keys".
    std::string cancelText = "Cancel";
    bool isDestructive = true;            ///< The verb stands apart and is never the default.
    std::optional<std::string> typedName; ///< Must be typed exactly before the verb can be pressed.
    std::optional<std::string> refusal;   ///< Why it cannot be done at all, as a sentence.

    bool operator==(const Question&) const = default;
};

/// Why the verb cannot be pressed yet, as a sentence; nothing when it can.
///
/// @param typed  compared byte for byte: neither blanks around it nor case are forgiven.
std::optional<std::string> verbRefusal(const Question& question, std::string_view typed);
