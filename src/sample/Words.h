#pragma once

#include <string_view>

/// Names of people, companies and group chats.
namespace korvane::sample::names {

/// A name in its native spelling, and in lower-case ASCII for e-mail addresses.
struct Name {
    std::string_view written;
    std::string_view ascii;
};

inline constexpr Name given[] = {{"Ann", "ann"}, {"Leo", "leo"}, {"Mia", "mia"},
    {"Jürgen", "juergen"}, {"Aiko", "aiko"}, {"Tomás", "tomas"}, {"Priya", "priya"}, {"Zoë", "zoe"},
    {"Omar", "omar"}, {"Grace", "grace"}, {"Søren", "soren"}, {"Hannah", "hannah"},
    {"Luca", "luca"}, {"Noor", "noor"}, {"Ethan", "ethan"}, {"Chloé", "chloe"}, {"Mateo", "mateo"},
    {"Ingrid", "ingrid"}, {"Wei", "wei"}, {"Fatima", "fatima"}, {"Björn", "bjoern"},
    {"Olivia", "olivia"}, {"Kofi", "kofi"}, {"Elena", "elena"}, {"Marcus", "marcus"},
    {"Yuki", "yuki"}, {"Saoirse", "saoirse"}, {"Daniel", "daniel"}, {"Amara", "amara"},
    {"Felix", "felix"}, {"Lena", "lena"}, {"Rafael", "rafael"}, {"Nadia", "nadia"},
    {"Oscar", "oscar"}, {"Tess", "tess"}, {"Hugo", "hugo"}, {"Ivy", "ivy"}};

inline constexpr Name family[]
    = {{"Lee", "lee"}, {"Müller", "mueller"}, {"Okafor", "okafor"}, {"García", "garcia"},
        {"Tanaka", "tanaka"}, {"O’Brien", "obrien"}, {"Novak", "novak"}, {"Larsen", "larsen"},
        {"Bennett", "bennett"}, {"Rossi", "rossi"}, {"Kaya", "kaya"}, {"Dubois", "dubois"},
        {"Patel", "patel"}, {"Weiß", "weiss"}, {"Moreau", "moreau"}, {"Fischer", "fischer"},
        {"Hughes", "hughes"}, {"Silva", "silva"}, {"Nguyen", "nguyen"}, {"Kowalski", "kowalski"},
        {"Brooks", "brooks"}, {"Haddad", "haddad"}, {"Lindqvist", "lindqvist"}, {"Adler", "adler"},
        {"Chen", "chen"}, {"Ferreira", "ferreira"}, {"Walsh", "walsh"}, {"Berger", "berger"},
        {"Yamada", "yamada"}, {"Costa", "costa"}, {"Reed", "reed"}};

inline constexpr std::string_view organizations[] = {"Riverside Dental", "Hill & Sons Plumbing",
    "Bäckerei Sommer", "Northside Climbing", "Green Door Books", "Taxi Example",
    "Dr. Vogel, Praxis", "Harbor Veterinary Clinic", "Sunny Days Kindergarten", "Blue Kite Travel"};

inline constexpr std::string_view groups[] = {"Climbing Crew", "Family ❤️", "Sunday Brunch",
    "Book Club", "Ski Trip 12/24", "WG Küche", "Trivia Night", "Lake House", "Board Games",
    "Fußball Freitag ⚽️", "Wedding Plans", "Office Lunch", "The Neighbours", "飲み会",
    "Garden Share", "Film Night 🎬", "Marathon Training", "Band Practice", "Road Trip: Coast",
    "Café Olé", "Cousins", "Parents 3b", "Weekend Hikes", "House Hunt"};

} // namespace korvane::sample::names

/// Templates for message texts. A placeholder like `{place}` is replaced with a random entry of
/// the list of that name.
namespace korvane::sample::phrases {

inline constexpr std::string_view place[] = {"the café", "the gym", "the station", "our place",
    "the park", "the library", "the new bakery", "Mia’s", "the office", "the climbing hall",
    "the lake", "the airport", "that Thai place", "the market", "the playground", "the cinema",
    "Grandma’s", "the corner shop", "the pier", "school"};

inline constexpr std::string_view time[] = {"at 7", "in ten minutes", "at noon", "around half six",
    "after work", "in an hour", "at 8:15", "before lunch", "a bit later", "after the match"};

inline constexpr std::string_view day[]
    = {"tonight", "tomorrow", "on Saturday", "next week", "on Friday evening", "on Sunday morning",
        "this weekend", "on Thursday", "the day after tomorrow", "on the 14th"};

inline constexpr std::string_view food[] = {"pizza", "ramen", "a lasagne", "tacos", "dumplings",
    "soup", "pancakes", "a cake", "salad", "curry", "croissants", "ice cream", "sushi", "chili",
    "crème brûlée", "Käsespätzle", "coffee", "a smoothie"};

inline constexpr std::string_view activity[] = {"go climbing", "watch the match", "go for a run",
    "cook something", "play cards", "take the dog out", "paint the fence", "see the exhibition",
    "go swimming", "fix the bike", "plan the trip", "try the new place", "bake", "practise",
    "go for a walk", "finish the puzzle"};

inline constexpr std::string_view thing[] = {"the keys", "your charger", "the tickets",
    "the blue jacket", "my umbrella", "the photos", "the invitation", "the recipe", "the parcel",
    "the spare bike", "your sunglasses", "the tent", "the guitar", "the list", "the drill",
    "the booking", "that book", "the cake tin"};

inline constexpr std::string_view person[]
    = {"Mia", "Leo", "Dad", "Mum", "Noor", "Jonas", "Aiko", "your sister", "the neighbour", "Sam",
        "Zoë", "Tomás", "Priya", "the landlord", "Ella", "André"};

inline constexpr std::string_view answers[] = {"ok", "Ok 👍", "yes", "Yes!", "no", "Haha",
    "haha yes", "😂", "❤️", "👍🏽", "On my way", "thanks!", "Thank you 🙏", "sure", "Perfect",
    "Same here", "lol", "Almost there", "Good night 🌙", "Congrats 🎉", "No worries", "Sounds good",
    "K", "🥳🥳🥳", "why?", "omg", "Nope", "just saw this", "So good", "Right?",
    "👨‍👩‍👧‍👦", "🇩🇪🇯🇵", "Deal", "hmm", "Call me?"};

inline constexpr std::string_view questions[] = {
    "Are you at {place} yet?",
    "Do you want to {activity} {day}?",
    "Did you bring {thing}?",
    "What about {food} {day}?",
    "Is {person} coming {day}?",
    "Shall we meet at {place} {time}?",
    "Can you pick up {food} on the way?",
    "Have you seen {thing}?",
    "Who is bringing {food}?",
    "How was your day?",
    "When does your train get in?",
    "Could you ask {person} about {thing}?",
    "Still up for {food} {day}?",
    "Which platform?",
    "How did it go with {person}?",
    "Did {person} like {thing}?",
    "Are we still going to {activity} {day}?",
    "Is there any {food} left?",
    "What time does {place} close?",
    "Should I wait for you at {place}?",
    "Do we need {thing} {day}?",
    "Anyone free to {activity} {day}?",
    "Did you hear back from {person}?",
    "Where did you put {thing}?",
};

inline constexpr std::string_view statements[] = {
    "I’m at {place}.",
    "See you at {place} {time}!",
    "I left {thing} at {place}.",
    "{person} says hi.",
    "We could {activity} {day}.",
    "Running late, sorry.",
    "{person} made {food}, there’s plenty left.",
    "I can’t {day}, but let’s {activity} soon.",
    "Just got home.",
    "The weather looks great {day}.",
    "I’ll bring {food}.",
    "Found {thing}!",
    "That was so much fun.",
    "Let’s {activity} {day}.",
    "{person} is asking about {thing}.",
    "Don’t forget {thing}.",
    "I booked a table for {day}.",
    "There’s a queue at {place}.",
    "My phone is about to die.",
    "Happy birthday, have a wonderful day!",
    "We missed the bus, the next one comes in twenty minutes.",
    "I sent you {thing}, let me know when it arrives.",
    "Traffic is terrible, we are still near {place}.",
    "{person} can take the kids {day}.",
    "The doctor said everything looks fine.",
    "Here’s the link: https://example.com/plans",
    "It costs 12,50 € each.",
    "Meeting moved, so I’m free {day}.",
    "The cat is asleep on {thing} again.",
    "Turn left after {place}, it’s the green door.",
    "{person} got the job!!",
    "I’ll be there {time}.",
    "We ran out of milk.",
    "Leaving {place} now, see you {time}.",
    "{person} wants to {activity} {day}.",
    "You have to try {food} at {place}.",
    "I can drive, {person} takes the train.",
    "The concert is {day}, doors open at eight.",
    "{thing} fits perfectly, thank you!",
    "I’m making {food}, come over if you’re hungry.",
    "{person} forgot {thing} at {place} again.",
    "Rain all day here.",
    "It’s on the kitchen table, next to {thing}.",
    "Let me check with {person} and call you {time}.",
};

inline constexpr std::string_view foreign[] = {
    "Bin gleich da, noch fünf Minuten.",
    "Hast du {thing} dabei?",
    "Schöne Grüße an alle, bis nächste Woche!",
    "Könntest du Brötchen und Käse mitbringen?",
    "Ich freu mich schon riesig auf Samstag 😊",
    "On se retrouve où ce soir ?",
    "J’ai réservé à côté de la gare, ça te va ?",
    "Bon anniversaire mon cœur !",
    "¿Quedamos mañana por la mañana?",
    "¡Qué ilusión! El niño ya sabe montar en bici.",
    "Até amanhã, não te esqueças do pão.",
    "Zaraz będę, czekaj na mnie przy wejściu.",
    "今日は何時に会う？",
    "ありがとう！とても楽しかったです😊",
    "駅に着いたら連絡してね",
    "明日の天気は晴れみたいだよ",
    "صباح الخير، كيف حالك اليوم؟",
    "شكرا جزيلا، أراك غدا إن شاء الله",
    "До встречи в семь у метро!",
    "생일 축하해! 🎂",
    "שבת שלום לכולם",
    "Γεια σου, τι κάνεις;",
};

inline constexpr std::string_view emoji[] = {"😊", "😂", "🙈", "🎉", "❤️", "☕️", "🌞", "🚲", "🍕",
    "👋🏼", "😴", "🤷‍♀️", "🏔️", "🐶", "🥐", "✨"};

inline constexpr std::string_view captions[]
    = {"Look at this!", "From {place}", "{food} 😍", "Is this {thing}?", "Taken {time}", "Guess who",
        "Before and after", "{person} and me", "The view from {place}"};

} // namespace korvane::sample::phrases
