// File names and file-system helpers.
#include "teska/paths.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstring>
#include <vector>

namespace teska {

std::string lower_case(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

namespace {

std::size_t last_component_start(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? 0 : slash + 1;
}

// Position of the extension's dot in the last component, or npos.
std::size_t extension_dot(const std::string& path) {
    const std::size_t start = last_component_start(path);
    const std::size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || dot <= start) return std::string::npos;
    return dot;
}

}  // namespace

std::string extension_of(const std::string& path) {
    const std::size_t dot = extension_dot(path);
    return dot == std::string::npos ? std::string() : path.substr(dot);
}

std::string stem_of(const std::string& path) {
    const std::size_t dot = extension_dot(path);
    return dot == std::string::npos ? path : path.substr(0, dot);
}

std::string directory_of(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    if (slash == 0) return "/";
    return path.substr(0, slash);
}

std::string base_of(const std::string& path) { return path.substr(last_component_start(path)); }

std::string join_path(const std::string& directory, const std::string& name) {
    if (directory.empty() || directory == ".") return name;
    return directory.back() == '/' ? directory + name : directory + "/" + name;
}

std::string normalised_path(const std::string& path) {
    std::string absolute = path;
    if (path.empty() || path[0] != '/') {
        std::vector<char> cwd(4096);
        if (::getcwd(cwd.data(), cwd.size()) != nullptr)
            absolute = std::string(cwd.data()) + "/" + path;
    }
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= absolute.size()) {
        std::size_t end = absolute.find('/', start);
        if (end == std::string::npos) end = absolute.size();
        const std::string part = absolute.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    std::string result;
    for (const std::string& part : parts) result += "/" + part;
    return result.empty() ? "/" : result;
}

bool path_exists(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

bool is_directory(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string input_file_problem(const std::string& path) {
    struct stat info;
    if (::stat(path.c_str(), &info) != 0) return "no such file";
    if (S_ISDIR(info.st_mode)) return "is a directory";
    // A device such as /dev/zero would be read without end.
    if (S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode)) return "is a device, not a file";
    if (info.st_size > (off_t{1} << 30)) return "is larger than 1 GiB";
    return std::string();
}

bool same_existing_file(const std::string& a, const std::string& b) {
    struct stat first, second;
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::string make_directories(const std::string& path) {
    if (path.empty() || is_directory(path)) return std::string();
    const std::string parent = directory_of(path);
    if (parent != path && parent != "." && parent != "/") {
        const std::string failure = make_directories(parent);
        if (!failure.empty()) return failure;
    }
    if (::mkdir(path.c_str(), 0777) != 0 && !(errno == EEXIST && is_directory(path)))
        return "cannot create directory " + path + ": " + std::strerror(errno);
    return std::string();
}

void remove_flat_directory(const std::string& path) {
    if (DIR* dir = ::opendir(path.c_str())) {
        while (const dirent* entry = ::readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") ::unlink(join_path(path, name).c_str());
        }
        ::closedir(dir);
    }
    ::rmdir(path.c_str());
}

}  // namespace teska
