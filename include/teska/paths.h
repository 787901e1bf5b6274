// File-name arithmetic and the few file-system calls teska needs: extensions of the last path
// component, lexical normalisation for comparing outputs, directory creation.
#ifndef TESKA_PATHS_H
#define TESKA_PATHS_H

#include <string>

namespace teska {

std::string lower_case(std::string text);

// The extension of the last component, with its dot ("a.b/c.cif" -> ".cif"; "run.1/c" -> "").
// A leading dot does not start an extension (".hidden" has none).
std::string extension_of(const std::string& path);
// The path without that extension.
std::string stem_of(const std::string& path);
// The directory part ("." when there is none) and the last component.
std::string directory_of(const std::string& path);
std::string base_of(const std::string& path);
std::string join_path(const std::string& directory, const std::string& name);

// Absolute and lexically normal ("a/./b/../c" -> "/cwd/a/c"), for telling whether two names
// mean one file; symbolic links are not followed.
std::string normalised_path(const std::string& path);

bool path_exists(const std::string& path);
bool is_directory(const std::string& path);
// Why a path cannot be read as an input ("no such file", "is a directory", a device, more
// than 1 GiB), or "" when it can.
std::string input_file_problem(const std::string& path);
// Both names exist and are one file.
bool same_existing_file(const std::string& a, const std::string& b);

// Creates the directory and its missing parents; returns an empty text or why it failed.
std::string make_directories(const std::string& path);
// Removes a directory and the files directly inside it (staging directories hold no others).
void remove_flat_directory(const std::string& path);

}  // namespace teska

#endif  // TESKA_PATHS_H
