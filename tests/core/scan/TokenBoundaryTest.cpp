#include "VintrelCore/scan/ScanCore.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

using VintrelCore::ScanCore::hasTokenBoundary;

namespace {

/// The definition of a whole token, word for word. Slow, and easy to read.
bool isWholeToken(const std::string& haystack, const std::string& token) {
    return haystack.starts_with(token + " ") ||    // begins the line
           haystack == token ||                    // is all of it
           haystack.contains("/" + token + " ") || // ends a path, arguments follow
           haystack.ends_with("/" + token) ||      // ends a path, nothing follows
           haystack.contains("." + token + ".") || // stands between dots
           haystack.ends_with("." + token) ||      // is an extension at the end
           haystack.contains(" " + token + " ") || // stands between spaces
           haystack.ends_with(" " + token);        // is the last word
}

/// Calls `visit` with every string over `alphabet` of at most `length` characters.
template <typename Visit>
void forEachString(std::string_view alphabet, size_t length, const Visit& visit,
                   const std::string& begun = {}) {
    visit(begun);
    if (begun.size() < length) {
        for (const char character : alphabet) {
            forEachString(alphabet, length, visit, begun + character);
        }
    }
}

} // namespace

TEST(TokenBoundary, holdsInEachOfTheEightPlaces) {
    EXPECT_TRUE(hasTokenBoundary("vite --port 5173", "vite"));
    EXPECT_TRUE(hasTokenBoundary("vite", "vite"));
    EXPECT_TRUE(hasTokenBoundary("node node_modules/.bin/vite --port 5173", "vite"));
    EXPECT_TRUE(hasTokenBoundary("node /srv/app/node_modules/.bin/vite", "vite"));
    EXPECT_TRUE(hasTokenBoundary("/applications/com.docker.backend run", "docker"));
    EXPECT_TRUE(hasTokenBoundary("/usr/libexec/com.docker", "docker"));
    EXPECT_TRUE(hasTokenBoundary("npx jest --watch", "jest"));
    EXPECT_TRUE(hasTokenBoundary("npx jest", "jest"));
}

TEST(TokenBoundary, doesNotHoldNextToOtherCharacters) {
    for (const std::string_view haystack :
         {"vitest", "npx vitest run", "invite", "npx invite x", "vite\trun", "npx\tvite\tx", "x=vite",
          "vite=x y", "x:vite", "vite:x y", "npm@vite", "vite@5 dev", "pre-vite", "vite-node x", "'vite' x",
          "(vite)", "x,vite", "x_vite", "x\\vite"}) {
        EXPECT_FALSE(hasTokenBoundary(haystack, "vite")) << '"' << haystack << '"';
    }
}

TEST(TokenBoundary, doesNotHoldForTheStartOfAPath) {
    EXPECT_FALSE(hasTokenBoundary("vite/bin/x y", "vite"));
    EXPECT_FALSE(hasTokenBoundary("vite.config.ts", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node vite/server.js", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node vite.config.ts", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node /srv/vite/server.js", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node /srv/vite.mjs", "vite"));
}

// The two sides of a token belong together: a slash or a space before it wants a space or the end after it, a
// dot wants a dot or the end.
TEST(TokenBoundary, doesNotHoldForMixedSides) {
    EXPECT_FALSE(hasTokenBoundary("node /srv/.vite x", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node /srv/vite.x", "vite"));
    EXPECT_FALSE(hasTokenBoundary("node vite.x", "vite"));
    EXPECT_FALSE(hasTokenBoundary("app.vite x", "vite"));
}

TEST(TokenBoundary, mindsCase) {
    EXPECT_FALSE(hasTokenBoundary("Vite --port 5173", "vite"));
    EXPECT_FALSE(hasTokenBoundary("vite --port 5173", "Vite"));
    EXPECT_TRUE(hasTokenBoundary("Vite --port 5173", "Vite"));
}

TEST(TokenBoundary, looksPastAnEarlierPlaceThatIsNone) {
    EXPECT_TRUE(hasTokenBoundary("vitest vite", "vite"));
    EXPECT_TRUE(hasTokenBoundary("/vitest/vite/vite x", "vite"));
    EXPECT_TRUE(hasTokenBoundary("x.vite-y.vite.z", "vite"));
    EXPECT_TRUE(hasTokenBoundary("vite-x invite vite y", "vite"));
}

TEST(TokenBoundary, doesNotHoldInShorterText) {
    EXPECT_FALSE(hasTokenBoundary("", "vite"));
    EXPECT_FALSE(hasTokenBoundary(" ", "vite"));
    EXPECT_FALSE(hasTokenBoundary("vit", "vite"));
}

// The hyphen stands for every character that bounds nothing, and makes tokens such as "--watch".
TEST(TokenBoundary, agreesWithItsDefinitionOnEveryShortText) {
    const std::array<std::string, 6> tokens{"a", "aa", "-a", "a-", "a-a", "a.a"};
    size_t whole = 0;
    forEachString("a /.-", 7, [&](const std::string& haystack) {
        for (const std::string& token : tokens) {
            const bool expected = isWholeToken(haystack, token);
            whole += expected ? 1 : 0;
            if (hasTokenBoundary(haystack, token) != expected) {
                ADD_FAILURE() << '"' << token << "\" is " << (expected ? "" : "not ") << "a whole token of \""
                              << haystack << '"';
            }
        }
    });
    EXPECT_GT(whole, 10'000U) << "the texts hold hardly any token";
}
