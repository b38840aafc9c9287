#include "platform/OpenFileGuard.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <linux/magic.h>
#include <mutex>
#include <sys/vfs.h>

namespace {

// Types linux/magic.h does not name on every system.
constexpr unsigned long kCifs = 0xFF534D42;
constexpr unsigned long kSmb2 = 0xFE534D42;
constexpr unsigned long kFuse = 0x65735546;
constexpr unsigned long kCeph = 0x00C36400;
constexpr unsigned long kNineP = 0x01021997;
constexpr unsigned long kGfs2 = 0x01161970;
constexpr unsigned long kOcfs2 = 0x7461636F;
constexpr unsigned long kLustre = 0x0BD00BD0;
constexpr unsigned long kNsfs = 0x6E736673;
constexpr unsigned long kEfivarfs = 0xDE5E81E4;
constexpr unsigned long kConfigfs = 0x62656570;
constexpr unsigned long kFuseCtl = 0x65735543;
constexpr unsigned long kRdtGroup = 0x07655821;

} // namespace

FileSystemKind FileSystemKindOf(int fd) {
    struct statfs fs {};
    if (fstatfs(fd, &fs) != 0) {
        return FileSystemKind::Disk;
    }
    switch (static_cast<unsigned long>(fs.f_type)) {
    case NFS_SUPER_MAGIC:
    case SMB_SUPER_MAGIC:
    case kCifs:
    case kSmb2:
    case kFuse:
    case kCeph:
    case kNineP:
    case AFS_SUPER_MAGIC:
    case AFS_FS_MAGIC:
    case CODA_SUPER_MAGIC:
    case kGfs2:
    case kOcfs2:
    case kLustre:
        return FileSystemKind::Network;
    case PROC_SUPER_MAGIC:
    case SYSFS_MAGIC:
    case DEBUGFS_MAGIC:
    case TRACEFS_MAGIC:
    case SECURITYFS_MAGIC:
    case CGROUP_SUPER_MAGIC:
    case CGROUP2_SUPER_MAGIC:
    case BPF_FS_MAGIC:
    case PSTOREFS_MAGIC:
    case SELINUX_MAGIC:
    case SMACK_MAGIC:
    case DEVPTS_SUPER_MAGIC:
    case BINFMTFS_MAGIC:
    case kNsfs:
    case kEfivarfs:
    case kConfigfs:
    case kFuseCtl:
    case kRdtGroup:
        return FileSystemKind::Pseudo;
    default:
        return FileSystemKind::Disk;
    }
}

ReadLease::ReadLease(int fd, bool wanted) : fd_(fd), state_(State::Unavailable) {
    if (!wanted) {
        return;
    }
    // A broken lease is told by a signal, SIGIO unless set otherwise, whose default ends the
    // process: the break is looked for with F_GETLEASE instead, so the signal is not needed.
    static std::once_flag quiet;
    std::call_once(quiet, [] {
        struct sigaction now {};
        if (sigaction(SIGIO, nullptr, &now) == 0 && now.sa_handler == SIG_DFL) {
            signal(SIGIO, SIG_IGN);
        }
    });
    if (fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        state_ = State::Held;
    } else if (errno == EAGAIN) {
        state_ = State::InUse; // open for writing somewhere
    }
}

ReadLease::~ReadLease() {
    Release();
}

bool ReadLease::InUse() const {
    // A lease being broken reads as the type it is to become: none.
    return state_ == State::InUse || (state_ == State::Held && fcntl(fd_, F_GETLEASE) != F_RDLCK);
}

void ReadLease::Release() {
    if (state_ == State::Held) {
        fcntl(fd_, F_SETLEASE, F_UNLCK);
        state_ = State::Unavailable;
    }
}
