// Builds a few texts with the library's String and prints how they are stored.
#include <orvik_utilities.h>

#include <cstdio>

int main(int argc, char** argv) {
    String greeting("liborvik_utilities");
    String copy(greeting);
    copy += " says hello";
    for (int i = 1; i < argc; ++i) {
        copy += ' ';
        copy += argv[i];
    }
    std::printf("%s\n", copy.buffer());
    std::printf("original \"%s\": length %ld\n", greeting.buffer(), greeting.length());
    std::printf("copy: length %ld, capacity %ld\n", copy.length(),
                String::StringBuffer::NEAREST_VALID_STRING_LENGTH(copy.length()));

    // The library's own engine sizes the text; the slice form cuts a window out of it.
    String route;
    route.format("route%lu via %s", 3ul, "wwan0");
    char window[8];
    snxprintf(window, 5, sizeof window, "%s", route.buffer());
    std::printf("formatted \"%s\" (%d characters), window \"%s\"\n", route.buffer(),
                strlenf("route%lu via %s", 3ul, "wwan0"), window);
    return greeting.length() == 18 && copy.length() > greeting.length() &&
                   route == "route3 via wwan0"
               ? 0
               : 1;
}
