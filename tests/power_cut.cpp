// Saves while the machine fails: each system call of a save in turn is the last thing that the
// process does, or fails, and files may not grow beyond some size. What the target holds then must
// be whole, and what the save answered, true. Exit code 77: this process must not trace another
// one.
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "vexo_variant/variant.h"

namespace {

namespace fs = std::filesystem;
using Text = const std::string&;
using Calls = std::vector<unsigned long long>;
constexpr int kNone = 0, kKill = -1, kShortWrite = -2, kFull = -3;  // faults beside error numbers
int failures = 0;

bool save(Text format, Text path) {
  vexo::variant::Variant value;
  for (int i = 0; i < 1000; ++i) value["list"][-1] = "something";
  if (format == "BIN") return value.ToBINFile(path);
  if (format == "AMF") return value.ToAMFFile(path);
  return format == "JSON" ? value.ToJSONFile(path, true) : value.ToKVPFile(path, "=", "\n");
}

std::string read(Text path) {
  std::ifstream stream(path);
  return stream ? std::string(std::istreambuf_iterator<char>(stream), {}) : "(none)";
}

/// A directory with a file to save over, if it exists, and two more names for it.
struct Stage {
  Stage(Text top, bool exists, bool isLinked) : directory(top) {
    fs::remove_all(directory);
    fs::create_directories(directory + "/links");
    std::ofstream(hardLink) << "old";
    if (exists) fs::create_hard_link(hardLink, file);
    fs::create_symlink("../file", directory + "/links/soft");
    path = isLinked ? directory + "/links/soft" : file;
    old = read(file);
  }
  /// Reports unless the answer is true. Success is a new file in place of
  /// the old one, unless that is forbidden. When the directory is opened and synced at last, the
  /// new file is there already.
  void check(bool isSaved, Text fresh, int fault, unsigned long long call) const {
    const bool isFresh = read(file) == fresh && (fault == EACCES || read(hardLink) == "old");
    const auto entries = std::distance(fs::recursive_directory_iterator(directory), {});
    const bool isTidy = entries == (fs::exists(file) ? 4 : 3) || fault == kKill;
    const bool isLast = call == SYS_openat || (fault == EIO && call == SYS_fsync);
    const bool mayBeFresh = isSaved || fault == kKill || isLast;
    const bool mayBeOld = !isSaved && read(file) == old;
    if (isTidy && (mayBeOld || (isFresh && mayBeFresh))) return;
    std::printf("FAILED: %s (%s), fault %d at %llu\n", path.c_str(), old.c_str(), fault, call);
    ++failures;
  }

  std::string directory, file = directory + "/file", hardLink = directory + "/links/hard", path,
                         old;
};

/// Deals with one stop of a process, of which there are two at each of its system calls, before and
/// after; lists the call. At the stop number `when` the fault happens. Growing the heap does not
/// count: how often that happens depends on where it begins.
void onStop(pid_t child, Calls& calls, int fault, std::size_t when) {
  user_regs_struct registers{};
  ptrace(PTRACE_GETREGS, child, 0, &registers);
  if (registers.orig_rax == SYS_brk) return;
  const std::size_t stop = calls.size();
  calls.push_back(registers.orig_rax);
  if (stop == when && fault == kKill) kill(child, SIGKILL);
  if (stop == when && fault == kShortWrite && calls.back() == SYS_write) registers.rdx /= 2;
  if (stop == when && fault > 0) registers.orig_rax = ~0ULL;
  if (stop == when + 1 && fault > 0) registers.rax = 0ULL - static_cast<unsigned>(fault);
  ptrace(PTRACE_SETREGS, child, 0, &registers);
}

/// Saves in a process that has the fault. kFull limits files to `when` times 1000 bytes.
bool saveTraced(Text format, Text path, Calls& calls, int fault, std::size_t when) {
  calls.clear();
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{fault == kFull ? 1000 * when : RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
    if (ptrace(PTRACE_TRACEME) == 0) raise(SIGSTOP);
    _exit(save(format, path) ? 0 : 1);
  }
  int status = 0;
  while (waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
    if (WSTOPSIG(status) == SIGTRAP) onStop(child, calls, fault, when);
    ptrace(PTRACE_SYSCALL, child, 0, 0);
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void checkFaults(Text format, Text directory, bool exists, bool isLinked) {
  const Stage calm(directory, exists, isLinked);
  Calls calls, others;
  const bool isSaved = saveTraced(format, calm.path, calls, kNone, 0);
  const std::string fresh = read(calm.file);
  // A power cut loses what is not synced: the content must last before the name stands for it.
  Calls order{~0ULL, SYS_fsync, SYS_renameat, SYS_fsync, SYS_write};
  for (const auto call : calls) {
    if (call == order.back()) order.pop_back();
  }
  calm.check(isSaved, order.size() == 1 ? fresh : "(in order)", kNone, order.back());
  for (const int fault : {kKill, kShortWrite, kFull, ENOSPC, EIO, EINTR, EMFILE, EACCES}) {
    // The process ends in its last call, which has no second stop.
    for (std::size_t when = 0; when + 1 < calls.size(); when += fault == kKill ? 1 : 2) {
      const Stage stage(directory, exists, isLinked);
      stage.check(saveTraced(format, stage.path, others, fault, when), fresh, fault, calls[when]);
    }
  }
}

}  // namespace

int main() {
  Calls calls;
  saveTraced("BIN", "/", calls, kNone, 0);
  std::string top = "/dev/shm/power-cut-XXXXXX";  // in memory, where a sync takes no time
  if (calls.empty() || mkdtemp(top.data()) == nullptr) return 77;
  constexpr const char* kFormats[] = {"BIN", "AMF", "JSON", "KVP"};
  for (unsigned kind = 0; kind < 4 * std::size(kFormats); ++kind) {
    checkFaults(kFormats[kind / 4], top + "/" + kFormats[kind / 4], kind % 2 == 0, kind % 4 < 2);
  }
  fs::remove_all(top);
  return failures == 0 ? 0 : 1;
}
