#include "KilledChild.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <stdexcept>
#include <vector>

namespace tessaly::test {
namespace {

/// Calls that change a file whatever their arguments are.
constexpr long kChanging[] = {
    SYS_write,     SYS_pwrite64,        SYS_writev,   SYS_pwritev,   SYS_renameat2, SYS_linkat,
    SYS_symlinkat, SYS_unlinkat,        SYS_mkdirat,  SYS_ftruncate, SYS_truncate,  SYS_fsync,
    SYS_fdatasync, SYS_copy_file_range, SYS_sendfile, SYS_fchmod,    SYS_fchmodat,  SYS_fchown,
    SYS_fchownat,  SYS_fsetxattr,       SYS_setxattr, SYS_fallocate, SYS_msync,     SYS_utimensat,
#ifdef SYS_rename  // What newer machines have no numbers for.
    SYS_rename,    SYS_renameat,        SYS_link,     SYS_symlink,   SYS_unlink,    SYS_mkdir,
    SYS_rmdir,     SYS_chmod,           SYS_chown,    SYS_utimes,    SYS_futimesat,
#endif
};

class Filter {
public:
    Filter() {
        for (const long call : kChanging) stopAt(call);
        stopWhenSet(SYS_openat, 2, O_CREAT | (O_TMPFILE & ~O_DIRECTORY) | O_TRUNC);
#ifdef SYS_open
        stopWhenSet(SYS_open, 1, O_CREAT | (O_TMPFILE & ~O_DIRECTORY) | O_TRUNC);
#endif
        load(offsetof(seccomp_data, nr));
        skipUnless(SYS_ioctl, 3);
        load(offsetof(seccomp_data, args[1]));
        skipUnless(static_cast<long>(FICLONE), 1);
        add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
        add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }

    /// For this process and all its threads, for good.
    void install() {
        const sock_fprog program{static_cast<unsigned short>(code_.size()), code_.data()};
        if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
            ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
            ::_exit(126);
    }

private:
    void add(sock_filter instruction) { code_.push_back(instruction); }
    void load(std::size_t offset) { add(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<__u32>(offset))); }
    void skipUnless(long value, __u8 count) {
        add(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<__u32>(value), 0, count));
    }
    void stopAt(long call) {
        load(offsetof(seccomp_data, nr));
        skipUnless(call, 1);
        add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    void stopWhenSet(long call, int argument, unsigned flags) {
        load(offsetof(seccomp_data, nr));
        skipUnless(call, 3);
        load(offsetof(seccomp_data, args) + static_cast<std::size_t>(argument) * sizeof(__u64));
        add(BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, flags, 0, 1));
        add(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
    }
    std::vector<sock_filter> code_;
};

/// Lets the child and its threads go on from stop to stop, until it ends or has come to the one where it is killed.
ChildEnd follow(pid_t child, std::size_t killAt, const std::function<void(std::size_t)>& between) {
    ChildEnd end;
    while (true) {
        int status = 0;
        const pid_t who = ::waitpid(-1, &status, __WALL);
        if (who < 0) throw std::runtime_error("the child is lost");
        if (who == child && (WIFEXITED(status) || WIFSIGNALED(status))) {
            end.status = status;
            return end;
        }
        if (!WIFSTOPPED(status)) continue;
        const int event = status >> 16;
        if (event == PTRACE_EVENT_SECCOMP) {
            if (++end.steps == killAt) {
                end.isKilled = true;
                ::kill(child, SIGKILL);
                continue;
            }
            if (between) between(end.steps);
        }
        // A new thread begins with a stop of its own.
        const int signal = WSTOPSIG(status);
        const bool isOurs = event != 0 || signal == SIGSTOP || signal == SIGTRAP;
        ::ptrace(PTRACE_CONT, who, nullptr, isOurs ? 0 : static_cast<long>(signal));
    }
}

}  // namespace

ChildEnd runChild(const std::function<void()>& work, std::optional<std::size_t> killAt,
                  const std::function<void(std::size_t)>& between) {
    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("no child");
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (killAt) {
            if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) ::_exit(125);
            ::raise(SIGSTOP);
            Filter().install();
        }
        work();
        ::_exit(0);
    }
    ChildEnd end;
    if (!killAt) {
        ::waitpid(child, &end.status, 0);
        return end;
    }
    ::waitpid(child, &end.status, 0);
    if (!WIFSTOPPED(end.status)) return end;
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESECCOMP | PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL);
    ::ptrace(PTRACE_CONT, child, nullptr, 0);
    return follow(child, *killAt, between);
}

bool canTraceChildren() {
    // A call that is killed before it happens: only a followed child gets that far.
    return runChild([] { static_cast<void>(::fsync(-1)); }, 1).isKilled;
}

}  // namespace tessaly::test
