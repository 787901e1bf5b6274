// CIF inputs: the database reader (the default), or the store's own reader and pipeline, the
// rules cif2pdb follows (--strict, and the only reader of a build without the database one).
#include <cmath>

#include "structure_readers.h"

#ifdef TESKA_HAVE_DATABASE
#include "teska/database.h"
#endif

namespace teska::cli {

namespace {

constexpr int kSourceCif = 2;

// The store keeps a quoted CIF value with its quotes.
std::string unquoted(const std::string& text) {
    if (text.size() >= 2 && (text[0] == '\'' || text[0] == '"') && text.back() == text[0])
        return text.substr(1, text.size() - 2);
    return text;
}

}  // namespace

bool database_reader_available() {
#ifdef TESKA_HAVE_DATABASE
    return true;
#else
    return false;
#endif
}

void read_cif_with_store_reader(Structure& s, const std::string& path) {
    FileIO& store = s.store;
    s.reader = "strict";
    store.read_data_cif(path.c_str(), false);
    store.input_kind = kSourceCif;
    store.read_crystal_strcuture_files(false, false);
    s.has_cell = true;
    s.block = store.identifier;
    s.spacegroup = unquoted(store.spacegroup_name);
    s.symmetry_source = store.cif_symops.empty() ? "none" : "loop";
    for (const std::string& text : store.cif_symops) {
        SymmetryOperation op;
        store.ParseTransformString(text, op.r, op.t);
        s.operations.push_back(op);
    }
}

#ifdef TESKA_HAVE_DATABASE

namespace {

teska::ReadOptions database_options(const ReadSettings& settings, const std::string& block) {
    teska::ReadOptions options;
    options.block = block;
    if (settings.disorder == "major") {
        options.disorder = teska::DisorderMode::kMajor;
    } else if (settings.disorder == "all") {
        options.disorder = teska::DisorderMode::kAll;
    } else {
        options.disorder = teska::DisorderMode::kGroup;
        options.disorder_group = settings.disorder;
    }
    return options;
}

}  // namespace

void read_cif_with_database_reader(Structure& s, const std::string& path,
                                   const ReadSettings& settings, const std::string& block) {
    teska::CrystalInfo info;
    try {
        info = teska::read_database_cif(s.store, path, database_options(settings, block));
    } catch (const teska::Error& e) {
        throw Failure(e.file().empty() ? path : e.file(), e.message(), e.line(), e.column());
    }
    s.reader = "database";
    s.has_cell = true;
    s.block = info.block;
    s.spacegroup = info.spacegroup;
    s.symmetry_source = info.symmetry_source;
    for (const std::vector<double>& map : info.operations) {
        if (map.size() != 12) continue;
        SymmetryOperation op;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) op.r[i][j] = map[4 * i + j];
            op.t[i] = map[4 * i + 3];
        }
        s.operations.push_back(op);
    }
    s.periodic = info.periodic;
    s.disorder_left_out = info.disorder_left_out;
    s.warnings = info.warnings;
}

std::vector<std::string> cif_blocks_with_atoms(const std::string& path) {
    try {
        return teska::database_blocks_with_atoms(path);
    } catch (const teska::Error& e) {
        throw Failure(e.file().empty() ? path : e.file(), e.message(), e.line(), e.column());
    }
}

#else

void read_cif_with_database_reader(Structure& s, const std::string& path, const ReadSettings&,
                                   const std::string&) {
    read_cif_with_store_reader(s, path);
}

std::vector<std::string> cif_blocks_with_atoms(const std::string& path) {
    throw Failure(path,
                  "listing the data blocks needs the database reader, absent from this build");
}

#endif

}  // namespace teska::cli
