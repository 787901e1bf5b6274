// Timings of the conversion's stages on P1 crystal files, each stage on a store prepared as the
// conversion leaves it before that stage:
//   cif2pdb_stages [benchmark flags] [--results=FILE] [--work_dir=DIR] CRYSTAL.cif...
// read        read_data_cif on the file without its symmetry loop: the text scan, element rows
//             and coordinates (no operation leaves nothing to expand or separate)
// expand      make_spacegroup_P1 with the one operation x,y,z, overlap test included
// separate    separate_cif_molecules on the expanded cell
// make_whole  make_whole_molecule on every separated molecule
// pipeline    read_crystal_strcuture_files: molecule copies, make whole, Cartesian, cell forms
// write       the PDB records of the converted crystal, as the conversion writes them
// Each finished stage is appended at once to the results file as "stage, file, wall seconds,
// CPU seconds, iterations, atoms, molecules" (tab-separated, per iteration), so that a run
// stopped by a time limit keeps what it finished.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "teska/fileio.h"
#include "pdb_model.h"
#include "store_arrays.h"

namespace {

using fileio_detail::new_store_array;

constexpr int kSourceCif = 2;
constexpr int kFractionalColumns = 3;

std::string base_name(const std::string& path) {
    const std::string file = path.substr(path.find_last_of('/') + 1);
    return file.substr(0, file.rfind('.'));
}

// The crystal file without its symmetry loop ("loop_", the operation tag and its rows).
void write_without_symmetry_loop(const std::string& from, const std::string& to) {
    std::ifstream in(from);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    std::ofstream out(to);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const bool loop_of_operations = lines[i] == "loop_" && i + 1 < lines.size() &&
                                        lines[i + 1].find("_symmetry_equiv_pos_as_xyz") == 0;
        if (loop_of_operations)
            for (i += 2; i < lines.size() && !lines[i].empty();) ++i;
        out << lines[i] << '\n';
    }
    if (!in.eof() || !out) {
        std::fprintf(stderr, "cif2pdb_stages: cannot copy %s to %s\n", from.c_str(), to.c_str());
        std::exit(1);
    }
}

// The crystal arrays as the reader holds them before the expansion.
struct CrystalArrays {
    int natoms = 0;
    std::vector<int> atypes;
    std::vector<double> radius, x_s, x;
};

template <typename T>
T* store_copy(const std::vector<T>& values) {
    T* array = new_store_array<T>(static_cast<long long>(values.size()));
    std::copy(values.begin(), values.end(), array);
    return array;
}

void release_crystal_arrays(FileIO& s) {
    delete[] s.cif_atypes;
    delete[] s.cif_radius;
    delete[] s.cif_x_s;
    delete[] s.cif_x;
    s.cif_atypes = nullptr;
    s.cif_radius = s.cif_x_s = s.cif_x = nullptr;
}

void release_molecule_arrays(FileIO& s) {
    for (int i = 0; i < s.nmols; ++i) {
        delete[] s.mol_atypes[i];
        delete[] s.mol_x[i];
        delete[] s.mol_x_s[i];
        delete[] s.mol_extra_a[i];
        delete[] s.mol_extra_b[i];
        delete[] s.mol_file_names[i];
    }
    delete[] s.mol_natoms;
    delete[] s.mol_atypes;
    delete[] s.mol_x;
    delete[] s.mol_x_s;
    delete[] s.mol_extra_a;
    delete[] s.mol_extra_b;
    delete[] s.mol_ids;
    delete[] s.mol_value;
    delete[] s.mol_file_names;
    s.mol_natoms = s.mol_ids = nullptr;
    s.mol_atypes = nullptr;
    s.mol_x = s.mol_x_s = s.mol_extra_a = s.mol_extra_b = nullptr;
    s.mol_value = nullptr;
    s.mol_file_names = nullptr;
    s.nmols = 0;
}

// One crystal file and the stores its stages start from, prepared on first use.
class Crystal {
   public:
    Crystal(std::string path, const std::string& work_dir)
        : path_(std::move(path)),
          label_(base_name(path_)),
          scan_path_(work_dir + "/" + label_ + ".nosym.cif"),
          pdb_path_(work_dir + "/" + label_ + ".stages.pdb") {}

    const std::string& label() const { return label_; }
    const std::string& scan_path() const { return scan_path_; }
    const std::string& pdb_path() const { return pdb_path_; }

    // The store after the reader's scan: cell, one operation x,y,z and the crystal arrays.
    FileIO& scanned() {
        if (!store_) scan();
        return *store_;
    }

    void load_scanned_arrays() {
        FileIO& s = scanned();
        release_crystal_arrays(s);
        s.natoms_cif = arrays_.natoms;
        s.cif_atypes = store_copy(arrays_.atypes);
        s.cif_radius = store_copy(arrays_.radius);
        s.cif_x_s = store_copy(arrays_.x_s);
        s.cif_x = store_copy(arrays_.x);
    }

    void clear_molecules() {
        scanned().mol_natoms_list.clear();
        scanned().mol_atom_list.clear();
    }

    // The store after the separation: molecule lists filled (the expansion of x,y,z changes
    // nothing, so the scanned arrays serve as the expanded cell).
    FileIO& separated() {
        if (!separated_) {
            load_scanned_arrays();
            clear_molecules();
            scanned().separate_cif_molecules(false);
            separated_ = true;
        }
        return *store_;
    }
    void mark_separated() { separated_ = true; }

    // The store after the pipeline: whole molecules ready for the writer.
    FileIO& converted() {
        FileIO& s = separated();
        if (!converted_) {
            s.input_kind = kSourceCif;
            s.read_crystal_strcuture_files(false, false);
            converted_ = true;
        }
        return s;
    }

   private:
    void scan() {
        write_without_symmetry_loop(path_, scan_path_);
        store_ = std::make_unique<FileIO>();
        FileIO& s = *store_;
        s.read_data_cif(scan_path_.c_str(), false);
        const Atoms& atoms = s.cif_atoms;
        const int n = static_cast<int>(atoms.cif_atom_label.size());
        arrays_.natoms = n;
        arrays_.atypes.resize(n);
        arrays_.radius.resize(n);
        arrays_.x_s.resize(3 * n);
        arrays_.x.resize(3 * n);
        for (int i = 0; i < n; ++i) {
            const char* symbol = atoms.cif_atom_symbol[i].c_str();
            arrays_.atypes[i] = s.find_element_index_from_name(symbol);
            arrays_.radius[i] = s.find_element_radius_from_name(symbol);
            double* f = &arrays_.x_s[3 * i];
            f[0] = std::atof(atoms.cif_fx[i].c_str());
            f[1] = std::atof(atoms.cif_fy[i].c_str());
            f[2] = std::atof(atoms.cif_fz[i].c_str());
            s.coord_f2c(f, &arrays_.x[3 * i]);
        }
        s.cif_symops = {"x,y,z"};
    }

    std::string path_, label_, scan_path_, pdb_path_;
    std::unique_ptr<FileIO> store_;
    CrystalArrays arrays_;
    bool separated_ = false;
    bool converted_ = false;
};

void set_counters(benchmark::State& state, long long atoms, long long molecules) {
    state.counters["atoms"] = static_cast<double>(atoms);
    state.counters["molecules"] = static_cast<double>(molecules);
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void read_stage(benchmark::State& state, Crystal* crystal) {
    crystal->scanned();  // writes the file without symmetry loop
    long long atoms = 0;
    for (auto _ : state) {
        FileIO s;
        s.read_data_cif(crystal->scan_path().c_str(), false);
        atoms = static_cast<long long>(s.cif_atoms.cif_atom_label.size());
    }
    set_counters(state, atoms, 0);
}

void expand_stage(benchmark::State& state, Crystal* crystal) {
    FileIO& s = crystal->scanned();
    for (auto _ : state) {
        state.PauseTiming();
        crystal->load_scanned_arrays();
        state.ResumeTiming();
        s.make_spacegroup_P1(kFractionalColumns);
    }
    set_counters(state, s.natoms_cif, 0);
}

void separate_stage(benchmark::State& state, Crystal* crystal) {
    FileIO& s = crystal->scanned();
    crystal->load_scanned_arrays();
    for (auto _ : state) {
        state.PauseTiming();
        crystal->clear_molecules();
        state.ResumeTiming();
        s.separate_cif_molecules(false);
    }
    crystal->mark_separated();
    set_counters(state, s.natoms_cif, static_cast<long long>(s.mol_natoms_list.size()));
}

// Per-molecule copies of element rows and fractional coordinates, in separation order.
struct MoleculeCopies {
    std::vector<std::vector<int>> atypes;
    std::vector<std::vector<double>> x_s;
};

MoleculeCopies copy_molecules(const FileIO& s) {
    MoleculeCopies copies;
    std::size_t start = 0;
    for (int n : s.mol_natoms_list) {
        copies.atypes.emplace_back();
        copies.x_s.emplace_back();
        for (int k = 0; k < n; ++k) {
            const int atom = s.mol_atom_list[start + k];
            copies.atypes.back().push_back(s.cif_atypes[atom]);
            copies.x_s.back().insert(copies.x_s.back().end(), &s.cif_x_s[3 * atom],
                                     &s.cif_x_s[3 * atom + 3]);
        }
        start += n;
    }
    return copies;
}

void make_whole_stage(benchmark::State& state, Crystal* crystal) {
    FileIO& s = crystal->separated();
    const int nmols = static_cast<int>(s.mol_natoms_list.size());
    for (auto _ : state) {
        state.PauseTiming();
        MoleculeCopies copies = copy_molecules(s);
        state.ResumeTiming();
        for (int i = 0; i < nmols; ++i)
            s.make_whole_molecule(i + 1, s.mol_natoms_list[i], copies.atypes[i].data(),
                                  copies.x_s[i].data(), false);
    }
    set_counters(state, s.natoms_cif, nmols);
}

void pipeline_stage(benchmark::State& state, Crystal* crystal) {
    FileIO& s = crystal->converted();
    s.input_kind = kSourceCif;
    for (auto _ : state) {
        state.PauseTiming();
        release_molecule_arrays(s);
        state.ResumeTiming();
        s.read_crystal_strcuture_files(false, false);
    }
    set_counters(state, s.natoms_cif, s.nmols);
}

// The records the conversion writes, through the writer the conversion itself uses.
void write_converted_pdb(const FileIO& s, const char* path) {
    FILE* out = std::fopen(path, "w");
    if (out == nullptr) {
        std::fprintf(stderr, "cif2pdb_stages: cannot create %s\n", path);
        std::exit(1);
    }
    fileio_detail::write_cell_model(out, s);
    std::fclose(out);
}

void write_stage(benchmark::State& state, Crystal* crystal) {
    const FileIO& s = crystal->converted();
    for (auto _ : state) write_converted_pdb(s, crystal->pdb_path().c_str());
    set_counters(state, s.natoms_cif, s.nmols);
}

// Console output (coloured on a terminal only), and every finished stage appended to the results
// file at once.
class ResultsReporter : public benchmark::ConsoleReporter {
   public:
    explicit ResultsReporter(std::string path)
        : ConsoleReporter(isatty(STDOUT_FILENO) ? OO_ColorTabular : OO_Tabular),
          path_(std::move(path)) {}

    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        if (path_.empty()) return;
        FILE* out = std::fopen(path_.c_str(), "a");
        if (out == nullptr) return;
        for (const Run& run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
            const std::string name = run.benchmark_name();
            const std::size_t slash = name.find('/');
            const double iterations = static_cast<double>(run.iterations);
            std::fprintf(
                out, "%s\t%s\t%.6f\t%.6f\t%lld\t%.0f\t%.0f\n", name.substr(0, slash).c_str(),
                name.substr(slash + 1, name.find('/', slash + 1) - slash - 1).c_str(),
                run.real_accumulated_time / iterations, run.cpu_accumulated_time / iterations,
                static_cast<long long>(run.iterations), counter(run, "atoms"),
                counter(run, "molecules"));
        }
        std::fclose(out);
    }

   private:
    static double counter(const Run& run, const char* name) {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? 0.0 : found->second.value;
    }
    std::string path_;
};

bool take_option(const std::string& arg, const char* name, std::string* value) {
    const std::string prefix = std::string("--") + name + "=";
    if (arg.rfind(prefix, 0) != 0) return false;
    *value = arg.substr(prefix.size());
    return true;
}

using Stage = void (*)(benchmark::State&, Crystal*);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    std::string results, work_dir = ".";
    std::vector<std::string> inputs;
    for (int i = 1; i < argc; ++i)
        if (!take_option(argv[i], "results", &results) &&
            !take_option(argv[i], "work_dir", &work_dir))
            inputs.push_back(argv[i]);
    if (inputs.empty()) {
        std::fprintf(stderr,
                     "Usage: %s [benchmark flags] [--results=FILE] [--work_dir=DIR] "
                     "CRYSTAL.cif...\n",
                     argv[0]);
        return 2;
    }

    const std::pair<const char*, Stage> stages[] = {
        {"read", read_stage},         {"expand", expand_stage},
        {"separate", separate_stage}, {"make_whole", make_whole_stage},
        {"pipeline", pipeline_stage}, {"write", write_stage}};
    std::vector<std::unique_ptr<Crystal>> crystals;
    for (const std::string& input : inputs) {
        crystals.push_back(std::make_unique<Crystal>(input, work_dir));
        for (const auto& stage : stages)
            benchmark::RegisterBenchmark(
                (std::string(stage.first) + "/" + crystals.back()->label()).c_str(), stage.second,
                crystals.back().get())
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
    }
    ResultsReporter reporter(results);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
