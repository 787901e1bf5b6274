// Staged outputs: a private folder per input, renames on completion.
#include "teska/outputs.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "teska/error.h"
#include "teska/paths.h"

namespace teska {

std::string StagedOutputs::folder_of(const std::string& target_directory, pid_t pid) {
    return join_path(target_directory, ".teska-" + std::to_string(pid) + ".tmp");
}

StagedOutputs::StagedOutputs(const std::string& input, const std::string& target_directory)
    : input_(input), folder_(folder_of(target_directory, ::getpid())) {
    remove_flat_directory(folder_);  // left by an earlier process of the same id
    if (::mkdir(folder_.c_str(), 0777) != 0)
        throw Error(input, 0, 0, "cannot write into " + target_directory + ": " + std::strerror(errno));
}

StagedOutputs::~StagedOutputs() { remove_flat_directory(folder_); }

std::string StagedOutputs::path_for(const std::string& final_path) {
    const std::string staged = join_path(folder_, base_of(final_path));
    files_.emplace_back(staged, final_path);
    return staged;
}

std::vector<std::string> StagedOutputs::commit() {
    std::vector<std::string> written;
    for (std::size_t k = 1; k <= files_.size(); ++k) {
        const auto& [staged, final_path] = files_[k % files_.size()];
        if (std::rename(staged.c_str(), final_path.c_str()) != 0)
            throw Error(input_, 0, 0, "cannot rename the finished output to " + final_path + ": " +
                                      std::strerror(errno));
    }
    for (const auto& file : files_) written.push_back(file.second);
    files_.clear();
    return written;
}

}  // namespace teska
