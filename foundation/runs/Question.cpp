#include "foundation/runs/Question.h"

#include "foundation/Texts.h"

std::optional<std::string> verbRefusal(const Question& question, std::string_view typed)
{
    if (question.refusal)
        return question.refusal;
    if (!question.typedName || typed == *question.typedName)
        return std::nullopt;
    const auto name = "“" + singleLine(*question.typedName) + "”";
    return typed.empty() ? "Type " + name + " to confirm." : "The text is not exactly " + name + ".";
}
