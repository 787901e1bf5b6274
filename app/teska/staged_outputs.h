// The outputs of one input, written under temporary names in a private folder inside their
// target folder and renamed into place only when all of them are complete: a failed or killed
// conversion leaves no half-written file under a final name.
#ifndef TESKA_CLI_STAGED_OUTPUTS_H
#define TESKA_CLI_STAGED_OUTPUTS_H

#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

namespace teska::cli {

class StagedOutputs {
   public:
    // Creates target_directory/.teska-PID.tmp; throws Failure naming input when it cannot.
    StagedOutputs(const std::string& input, const std::string& target_directory);
    ~StagedOutputs();  // removes the staging folder and whatever is left in it
    StagedOutputs(const StagedOutputs&) = delete;
    StagedOutputs& operator=(const StagedOutputs&) = delete;

    // Where to write the file that is to become final_path (which must lie in the target folder).
    std::string path_for(const std::string& final_path);
    // Renames every staged file to its final name, the first one registered last, so that the
    // first output existing means all of them were written. Throws Failure.
    std::vector<std::string> commit();

    // The staging folder a process with this id uses in target_directory, for the parent to
    // remove after killing it.
    static std::string folder_of(const std::string& target_directory, pid_t pid);

   private:
    std::string input_;
    std::string folder_;
    std::vector<std::pair<std::string, std::string>> files_;  // staged, final
};

}  // namespace teska::cli

#endif  // TESKA_CLI_STAGED_OUTPUTS_H
