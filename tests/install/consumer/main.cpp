// Reads a crystal through the installed model, checks that its molecules, bonds and species
// hang together, writes its cell as a PDB file, and prints the number of molecules.
#include <teska/crystal.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    try {
        const teska::Crystal crystal = teska::Crystal::read(argv[1]);
        int in_species = 0;
        for (const teska::Species& species : crystal.species()) in_species += species.count;
        for (std::size_t m = 0; m < crystal.molecules().size(); ++m)
            if (crystal.molecules()[m].atom_count > 1 && crystal.bonds(static_cast<int>(m)).empty())
                return 3;  // a molecule of several atoms without a bond is not one piece
        if (in_species != static_cast<int>(crystal.molecules().size())) return 4;
        const std::string out = "/tmp/teska_consumer_" + std::to_string(::getpid()) + ".pdb";
        const bool written = crystal.write(out, teska::WriteSettings{}).size() == 1;
        std::remove(out.c_str());
        if (!written) return 5;
        std::printf("%zu\n", crystal.molecules().size());
    } catch (const teska::Error& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
