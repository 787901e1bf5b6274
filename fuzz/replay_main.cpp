// The main of a fuzz target in an ordinary build: runs the target once on every input named,
// files as they are and folders with every file beneath them, so that the test command replays
// the seed corpora and the committed regressions. A crash, a sanitizer report or a broken
// invariant ends the run as it would end a fuzzing run.
//
//   fuzz_TARGET [--ext=.cif,.txt] [--optional=FOLDER]... PATH...
//
// --ext keeps, within folders, only the files whose names end so; --optional names a folder
// that is replayed when it exists and skipped otherwise.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

namespace fs = std::filesystem;

struct Options {
    std::vector<std::string> extensions;  // empty: every file
    std::vector<fs::path> required, optional;
};

bool starts_with(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

bool ends_with(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

std::vector<std::string> split_commas(const std::string& list) {
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= list.size();) {
        std::size_t stop = list.find(',', start);
        if (stop == std::string::npos) stop = list.size();
        if (stop > start) parts.push_back(list.substr(start, stop - start));
        start = stop + 1;
    }
    return parts;
}

bool wanted(const Options& options, const fs::path& file) {
    if (options.extensions.empty()) return true;
    const std::string name = file.filename().string();
    return std::any_of(options.extensions.begin(), options.extensions.end(),
                       [&](const std::string& ext) { return ends_with(name, ext); });
}

// Folders contribute their files in name order, so that every run replays the same sequence.
void collect(const Options& options, const fs::path& path, std::vector<fs::path>& files) {
    if (!fs::is_directory(path)) {
        files.push_back(path);
        return;
    }
    std::vector<fs::path> found;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path))
        if (entry.is_regular_file() && wanted(options, entry.path())) found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    files.insert(files.end(), found.begin(), found.end());
}

std::vector<std::uint8_t> contents_of(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::vector<std::uint8_t>(std::istreambuf_iterator<char>(in),
                                     std::istreambuf_iterator<char>());
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (starts_with(arg, "--ext="))
            options.extensions = split_commas(arg.substr(6));
        else if (starts_with(arg, "--optional="))
            options.optional.emplace_back(arg.substr(11));
        else
            options.required.emplace_back(arg);
    }

    std::vector<fs::path> files;
    for (const fs::path& path : options.required) {
        if (!fs::exists(path)) {
            std::fprintf(stderr, "replay: %s does not exist\n", path.c_str());
            return 2;
        }
        collect(options, path, files);
    }
    for (const fs::path& path : options.optional) {
        if (fs::exists(path))
            collect(options, path, files);
        else
            std::printf("replay: %s is absent, skipped\n", path.c_str());
    }

    int set_aside = 0;
    for (const fs::path& file : files) {
        std::printf("replay: %s\n", file.c_str());
        std::fflush(stdout);
        std::vector<std::uint8_t> data = contents_of(file);
        const std::size_t size = data.size();
        data.push_back(0);  // an empty input still gets a valid pointer, as libFuzzer gives it
        if (LLVMFuzzerTestOneInput(data.data(), size) == -1) ++set_aside;
    }
    std::printf("replay: %zu inputs, %d beyond the target's limits\n", files.size(), set_aside);
    return 0;
}
