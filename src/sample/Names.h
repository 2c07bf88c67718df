#pragma once

#include <string_view>

/// Who the people of a sample are, where they work, and what their groups are called.
namespace korvane::sample::names {

/// A name as its owner writes it, and as it stands in an e-mail address.
struct Name {
    std::string_view written;
    std::string_view latin;
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
