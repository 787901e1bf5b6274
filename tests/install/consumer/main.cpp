// Prints the number of molecules in the unit cell of a CIF file.
#include <teska/database.h>
#include <teska/fileio.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    FileIO store;
    try {
        std::printf("%d\n", teska::read_database_cif(store, argv[1]).molecules);
    } catch (const teska::Error& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
