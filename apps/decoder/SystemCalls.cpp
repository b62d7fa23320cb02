#include "SystemCalls.h"

#include <fcntl.h>
#include <linux/prctl.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <type_traits>

namespace tessaly::decoder {
namespace {

struct Releaser {
    void operator()(void* filter) const noexcept { ::seccomp_release(filter); }
};
using Rules = std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, Releaser>;

/// What decoding takes: memory, threads, time, chance, and reading and answering through what is open.
constexpr std::array kAllowed{
    SCMP_SYS(mmap),
    SCMP_SYS(mmap2),
    SCMP_SYS(munmap),
    SCMP_SYS(mprotect),
    SCMP_SYS(mremap),
    SCMP_SYS(madvise),
    SCMP_SYS(brk),
    SCMP_SYS(futex),
    SCMP_SYS(futex_time64),
    SCMP_SYS(rseq),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(set_tid_address),
    SCMP_SYS(membarrier),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(getcpu),
    SCMP_SYS(getpid),
    SCMP_SYS(getppid),
    SCMP_SYS(gettid),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigreturn),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall),
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_getres),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(nanosleep),
    SCMP_SYS(clock_nanosleep),
    SCMP_SYS(clock_gettime64),
    SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(getrandom),
    SCMP_SYS(uname),
    SCMP_SYS(read),
    SCMP_SYS(pread64),
    SCMP_SYS(write),
    SCMP_SYS(close),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(sendmsg),
    SCMP_SYS(recvmsg),
    SCMP_SYS(ftruncate),
    SCMP_SYS(ftruncate64),
    SCMP_SYS(wait4),
    SCMP_SYS(kill),
    SCMP_SYS(prlimit64),
    SCMP_SYS(getrusage),
    SCMP_SYS(sysinfo),
    SCMP_SYS(socketpair),
};

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
/// Sanitizers see by a pipe whether memory can be read.
constexpr std::array kSanitizers{SCMP_SYS(pipe), SCMP_SYS(pipe2)};
#else
constexpr std::array<int, 0> kSanitizers{};
#endif

/// No library asks for these by mistake: whoever does is not decoding any more.
constexpr std::array kDeadly{
    SCMP_SYS(socket),
    SCMP_SYS(connect),
    SCMP_SYS(bind),
    SCMP_SYS(listen),
    SCMP_SYS(accept),
    SCMP_SYS(accept4),
    SCMP_SYS(execve),
    SCMP_SYS(execveat),
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(bpf),
    SCMP_SYS(mount),
    SCMP_SYS(umount2),
    SCMP_SYS(move_mount),
    SCMP_SYS(open_tree),
    SCMP_SYS(fsopen),
    SCMP_SYS(fsmount),
    SCMP_SYS(pivot_root),
    SCMP_SYS(chroot),
    SCMP_SYS(setns),
    SCMP_SYS(unshare),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(io_uring_enter),
    SCMP_SYS(io_uring_register),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(perf_event_open),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
    SCMP_SYS(delete_module),
    SCMP_SYS(kexec_load),
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(open_by_handle_at),
    SCMP_SYS(pidfd_open),
    SCMP_SYS(pidfd_getfd),
    SCMP_SYS(reboot),
    SCMP_SYS(swapon),
};

/// Libraries try these for a hint or two (how many processors there are) and do without an answer.
constexpr std::array kRefused{SCMP_SYS(open), SCMP_SYS(openat), SCMP_SYS(openat2), SCMP_SYS(creat)};

/// Copies and threads, but in no namespace of their own.
constexpr scmp_datum_t kNamespaces =
    CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWNET | CLONE_NEWPID | CLONE_NEWIPC | CLONE_NEWUTS | CLONE_NEWCGROUP;

template <std::size_t Count>
bool add(const Rules& rules, std::uint32_t action, const std::array<int, Count>& calls) {
    bool done = true;
    for (const int call : calls) done = ::seccomp_rule_add(rules.get(), action, call, 0) == 0 && done;
    return done;
}

/// The kernel's form, which libseccomp hands out through a file alone.
Filter compiled(const Rules& rules) {
    ::seccomp_attr_set(rules.get(), SCMP_FLTATR_CTL_OPTIMIZE, 2);
    const int file = ::memfd_create("tessaly-filter", MFD_CLOEXEC);
    if (file < 0) return {};
    Filter filter;
    if (::seccomp_export_bpf(rules.get(), file) == 0) {
        const off_t size = ::lseek(file, 0, SEEK_END);
        filter.resize(static_cast<std::size_t>(size) / sizeof(sock_filter));
        if (::pread(file, filter.data(), static_cast<std::size_t>(size), 0) != size) filter.clear();
    }
    ::close(file);
    return filter;
}

}  // namespace

Filter filterOfProcess() {
    const Rules rules(::seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!rules) return {};
    bool done = add(rules, SCMP_ACT_ALLOW, kAllowed) && add(rules, SCMP_ACT_ALLOW, kSanitizers) &&
                add(rules, SCMP_ACT_KILL_PROCESS, kDeadly) && add(rules, SCMP_ACT_ERRNO(EACCES), kRefused);
    const auto rule = [&](std::uint32_t action, int call, scmp_arg_cmp condition) {
        done = ::seccomp_rule_add(rules.get(), action, call, 1, condition) == 0 && done;
    };
    rule(SCMP_ACT_ALLOW, SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, kNamespaces, 0));
    // Its arguments lie in memory, where no filter sees them; the C library then takes the other one.
    done = ::seccomp_rule_add(rules.get(), SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0) == 0 && done;
    rule(SCMP_ACT_ALLOW, SCMP_SYS(fcntl), SCMP_A1(SCMP_CMP_EQ, F_GETFL));
    rule(SCMP_ACT_ALLOW, SCMP_SYS(fcntl), SCMP_A1(SCMP_CMP_EQ, F_GETFD));
    for (const int option : {PR_SET_NAME, PR_SET_VMA, PR_SET_PDEATHSIG, PR_SET_SECCOMP, PR_GET_DUMPABLE})
        rule(SCMP_ACT_ALLOW, SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, static_cast<scmp_datum_t>(option)));
    return done ? compiled(rules) : Filter();
}

Filter filterOfCopy() {
    const Rules rules(::seccomp_init(SCMP_ACT_ALLOW));
    if (!rules) return {};
    constexpr std::array kNoMore{SCMP_SYS(fork), SCMP_SYS(vfork), SCMP_SYS(kill), SCMP_SYS(wait4),
                                 SCMP_SYS(socketpair)};
    bool done = add(rules, SCMP_ACT_ERRNO(EPERM), kNoMore);
    const auto rule = [&](std::uint32_t action, int call, scmp_arg_cmp condition) {
        done = ::seccomp_rule_add(rules.get(), action, call, 1, condition) == 0 && done;
    };
    // Threads, but no processes.
    rule(SCMP_ACT_KILL_PROCESS, SCMP_SYS(clone), SCMP_A0(SCMP_CMP_MASKED_EQ, CLONE_THREAD, 0));
    rule(SCMP_ACT_ERRNO(EPERM), SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP));
    rule(SCMP_ACT_ERRNO(EPERM), SCMP_SYS(prctl), SCMP_A0(SCMP_CMP_EQ, PR_SET_PDEATHSIG));
    return done ? compiled(rules) : Filter();
}

bool install(const Filter& filter) {
    if (filter.empty()) return false;
    const sock_fprog program{static_cast<unsigned short>(filter.size()), const_cast<sock_filter*>(filter.data())};
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
}

}  // namespace tessaly::decoder
