// The batch runner: fork, capture, poll, time limits, ordered commits.
#include "batch.h"

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>
#include <utility>

#include "captured_output.h"
#include "failure.h"
#include "teska/paths.h"
#include "teska/outputs.h"

namespace teska::cli {

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t g_stop_signal = 0;

// In a child: standard output and error go to the capture file; how much of it was taken.
bool g_in_child = false;
off_t g_child_output_taken = 0;

void on_stop_signal(int signal) { g_stop_signal = signal; }

// SIGINT and SIGTERM interrupt poll() in the parent; the children get the default actions back.
void set_stop_handlers(bool catching) {
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = catching ? on_stop_signal : SIG_DFL;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

struct Child {
    std::size_t index;
    pid_t pid;
    int result_fd;
    std::FILE* capture;
    std::string encoded;
    Clock::time_point deadline;
};

void write_all(int fd, const std::string& data) {
    std::size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return;
        done += static_cast<std::size_t>(n);
    }
}

[[noreturn]] void run_child(std::size_t index, const BatchItem& item, const BatchWork& work,
                            int result_fd, std::FILE* capture) {
    set_stop_handlers(false);
    ::dup2(::fileno(capture), STDOUT_FILENO);
    ::dup2(::fileno(capture), STDERR_FILENO);
    g_in_child = true;
    JobResult result;
    try {
        result = work(index);
    } catch (const teska::Error& e) {
        result = JobResult();
        result.error = e.what();
    } catch (const std::exception& e) {
        // The store's molfile reader lets a substring error of a short atom line through.
        result = JobResult();
        result.error = item.input + ": the reader stopped: " + e.what();
    }
    std::cout.flush();
    std::fflush(nullptr);
    write_all(result_fd, encode(result));
    ::_exit(0);  // no exit handlers: the parent's buffers and the store's arrays are not ours
}


void remove_staging(const BatchItem& item, pid_t pid) {
    for (const std::string& directory : item.target_directories)
        remove_flat_directory(StagedOutputs::folder_of(directory, pid));
}

// The result of a child that ended: its own, or a failure told from how it ended.
JobResult finish_child(Child& child, const BatchItem& item, int wait_status) {
    const std::string captured = read_capture(child.capture);
    JobResult result;
    const bool clean = WIFEXITED(wait_status) && WEXITSTATUS(wait_status) == 0;
    if (!clean || !decode(child.encoded, &result)) {
        result = JobResult();
        std::string message = store_fatal_message(captured);
        if (message.empty()) {
            const std::string last = last_line(captured);
            if (WIFSIGNALED(wait_status))
                message = "stopped by signal " + std::to_string(WTERMSIG(wait_status)) + " (" +
                          strsignal(WTERMSIG(wait_status)) + ")";
            else
                message = "ended with status " + std::to_string(WEXITSTATUS(wait_status));
            if (!last.empty()) message += ": " + last;
        }
        result.error = item.input + ": " + message;
        remove_staging(item, child.pid);
        // A child with a result took the store's warnings itself (take_child_output).
        for (const std::string& warning : store_warnings(captured))
            result.warnings.push_back(item.input + ": warning: " + warning);
    }
    return result;
}

JobResult timed_out(Child& child, const BatchItem& item, double seconds) {
    ::kill(child.pid, SIGKILL);
    int status = 0;
    ::waitpid(child.pid, &status, 0);
    std::fclose(child.capture);
    remove_staging(item, child.pid);
    JobResult result;
    result.status = Status::kTimeout;
    char limit[32];
    std::snprintf(limit, sizeof limit, "%g", seconds);
    result.error = item.input + ": stopped after the time limit of " + limit + " s";
    return result;
}

bool start_child(std::size_t index, const BatchItem& item, const BatchWork& work,
                 const BatchSettings& settings, std::vector<Child>& running) {
    int fds[2];
    if (::pipe(fds) != 0) return false;
    std::FILE* capture = std::tmpfile();
    if (capture == nullptr) {
        ::close(fds[0]);
        ::close(fds[1]);
        return false;
    }
    std::cout.flush();
    std::fflush(nullptr);  // nothing buffered in the parent may be written twice
    const pid_t pid = ::fork();
    if (pid < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        std::fclose(capture);
        return false;
    }
    if (pid == 0) {
        ::close(fds[0]);
        run_child(index, item, work, fds[1], capture);
    }
    ::close(fds[1]);
    Child child{index, pid, fds[0], capture, std::string(), Clock::time_point::max()};
    if (settings.timeout_seconds > 0)
        child.deadline =
            Clock::now() + std::chrono::duration_cast<Clock::duration>(
                               std::chrono::duration<double>(settings.timeout_seconds));
    running.push_back(child);
    return true;
}

JobResult not_started(const BatchItem& item) {
    JobResult result;
    result.error = item.input + ": cannot start a process: " + std::strerror(errno);
    return result;
}

// Milliseconds poll() may wait: until the nearest deadline, and a quarter second when a
// progress bar is to be kept moving.
int poll_timeout(const std::vector<Child>& running, bool progress) {
    long long wait = progress ? 250 : -1;
    const Clock::time_point now = Clock::now();
    for (const Child& child : running) {
        if (child.deadline == Clock::time_point::max()) continue;
        const long long left =
            std::chrono::duration_cast<std::chrono::milliseconds>(child.deadline - now).count() + 1;
        const long long bounded = left < 0 ? 0 : left;
        if (wait < 0 || bounded < wait) wait = bounded;
    }
    return static_cast<int>(wait);
}

}  // namespace

std::string take_child_output() {
    if (!g_in_child) return std::string();
    std::cout.flush();
    std::fflush(stdout);
    std::fflush(stderr);
    std::string text;
    char buffer[4096];
    for (ssize_t n;
         (n = ::pread(STDOUT_FILENO, buffer, sizeof buffer, g_child_output_taken)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(n));
        g_child_output_taken += n;
    }
    return text;
}

bool run_batch(const std::vector<BatchItem>& items, const BatchWork& work,
               const BatchCommit& commit, const BatchSettings& settings, Progress& progress) {
    g_stop_signal = 0;
    set_stop_handlers(true);
    const std::size_t jobs = settings.jobs < 1 ? 1 : static_cast<std::size_t>(settings.jobs);
    std::vector<std::optional<JobResult>> finished(items.size());
    std::vector<Child> running;
    std::size_t next_start = 0, next_commit = 0, done = 0, failed = 0;

    const auto record = [&](std::size_t index, JobResult result) {
        ++done;
        if (result.status == Status::kFailed || result.status == Status::kTimeout) ++failed;
        finished[index] = std::move(result);
    };

    while (next_commit < items.size() && g_stop_signal == 0) {
        while (running.size() < jobs && next_start < items.size()) {
            const std::size_t index = next_start++;
            if (!start_child(index, items[index], work, settings, running))
                record(index, not_started(items[index]));
        }
        for (; next_commit < items.size() && finished[next_commit]; ++next_commit) {
            commit(next_commit, *finished[next_commit]);
            finished[next_commit].reset();
        }
        progress.update(done, failed);
        if (running.empty()) continue;

        std::vector<pollfd> fds;
        for (const Child& child : running) fds.push_back({child.result_fd, POLLIN, 0});
        const int ready = ::poll(fds.data(), fds.size(), poll_timeout(running, progress.enabled()));
        if (ready < 0 && errno != EINTR) break;

        std::vector<Child> still_running;
        for (std::size_t k = 0; k < running.size(); ++k) {
            Child& child = running[k];
            bool ended = false;
            if (ready > 0 && (fds[k].revents & (POLLIN | POLLHUP | POLLERR))) {
                char buffer[65536];
                const ssize_t n = ::read(child.result_fd, buffer, sizeof buffer);
                if (n > 0)
                    child.encoded.append(buffer, static_cast<std::size_t>(n));
                else if (n == 0 || errno != EINTR)
                    ended = true;
            }
            if (ended) {
                ::close(child.result_fd);
                int status = 0;
                while (::waitpid(child.pid, &status, 0) < 0 && errno == EINTR) {
                }
                record(child.index, finish_child(child, items[child.index], status));
            } else if (Clock::now() >= child.deadline) {
                ::close(child.result_fd);
                record(child.index, timed_out(child, items[child.index], settings.timeout_seconds));
            } else {
                still_running.push_back(std::move(child));
            }
        }
        running.swap(still_running);
    }

    const bool stopped = g_stop_signal != 0;
    for (Child& child : running) {
        ::kill(child.pid, SIGKILL);
        int status = 0;
        ::waitpid(child.pid, &status, 0);
        ::close(child.result_fd);
        std::fclose(child.capture);
        remove_staging(items[child.index], child.pid);
    }
    set_stop_handlers(false);
    progress.update(done, failed);
    progress.clear();
    return !stopped;
}

}  // namespace teska::cli
