// Prints the keys of an options file as "key=type:value", one a line in key order, so that shell
// tests can compare what landed on disk. Exits 1 when the file is not a readable dictionary.
#include "TestLibrary.h"

#include "settings/PropertyListFile.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: plist_keys FILE\n");
        return 2;
    }
    const auto keys = describeProperties(QString::fromLocal8Bit(argv[1]));
    if (!keys)
        return 1;
    for (auto it = keys->cbegin(); it != keys->cend(); ++it)
        std::printf("%s=%s\n", qPrintable(it.key()), qPrintable(it.value()));
    return 0;
}
