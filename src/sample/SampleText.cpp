#include "sample/SampleText.h"

#include "sample/Phrases.h"

namespace korvane::sample {

namespace {

std::string_view wordFor(std::string_view slot, Random& random)
{
    if (slot == "place")
        return random.pick(phrases::place);
    if (slot == "time")
        return random.pick(phrases::time);
    if (slot == "day")
        return random.pick(phrases::day);
    if (slot == "food")
        return random.pick(phrases::food);
    if (slot == "activity")
        return random.pick(phrases::activity);
    if (slot == "thing")
        return random.pick(phrases::thing);
    return random.pick(phrases::person);
}

void appendFilled(std::string& text, std::string_view phrase, Random& random)
{
    const std::size_t start = text.size();
    std::size_t open = 0;
    while ((open = phrase.find('{')) != phrase.npos) {
        const std::size_t close = phrase.find('}', open);
        text += phrase.substr(0, open);
        text += wordFor(phrase.substr(open + 1, close - open - 1), random);
        phrase.remove_prefix(close + 1);
    }
    text += phrase;
    if (text[start] >= 'a' && text[start] <= 'z')
        text[start] = static_cast<char>(text[start] - 'a' + 'A');
}

/// Mostly one or two; a letter of up to sixteen sentences once in thirty messages.
std::int64_t sentenceCount(Random& random)
{
    const std::int64_t draw = random.below(1000);
    if (draw < 770)
        return 1;
    if (draw < 910)
        return 2;
    if (draw < 967)
        return 3;
    return random.between(4, 16);
}

void appendSentence(std::string& text, Random& random)
{
    if (!text.empty())
        text += random.chance(60) ? "\n" : " ";
    if (random.chance(300))
        appendFilled(text, random.pick(phrases::questions), random);
    else
        appendFilled(text, random.pick(phrases::statements), random);
}

constexpr std::string_view reactionVerbs[]
    = {"Loved", "Liked", "Disliked", "Laughed at", "Emphasized", "Questioned"};
constexpr std::string_view reactionNouns[]
    = {"a heart", "a like", "a dislike", "a laugh", "an exclamation", "a question mark"};

} // namespace

std::string everydayText(Random& random)
{
    if (random.chance(120))
        return std::string(random.pick(phrases::answers));
    std::string text;
    if (random.chance(80)) {
        appendFilled(text, random.pick(phrases::foreign), random);
        return text;
    }
    for (std::int64_t left = sentenceCount(random); left > 0; --left)
        appendSentence(text, random);
    if (random.chance(120))
        text.append(" ").append(random.pick(phrases::emoji));
    return text;
}

std::string captionText(Random& random)
{
    std::string text;
    appendFilled(text, random.pick(phrases::captions), random);
    return text;
}

std::string reactionText(int kind, bool removal, std::string_view target)
{
    std::string text;
    if (removal)
        text.append("Removed ").append(reactionNouns[kind]).append(" from ");
    else
        text.append(reactionVerbs[kind]).append(" ");
    if (target.empty())
        return text.append("an image");
    return text.append("“").append(target).append("”");
}

} // namespace korvane::sample
