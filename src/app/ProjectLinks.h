#pragma once

// Where the program's page and its support address are.
inline constexpr const char* kProjectPage = "https://tallymoor.example/";
inline constexpr const char* kSupportAddress = "mailto:support@tallymoor.example";
