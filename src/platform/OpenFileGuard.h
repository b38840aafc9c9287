#pragma once

// What a file command needs to know of an open file beyond its status: what kind of file
// system holds it, and whether another program has it open for writing.

// The file systems a copy treats apart, by statfs type.
enum class FileSystemKind {
    Disk,    // data kept on a disk the kernel manages here (ext4, btrfs, xfs, tmpfs, ...)
    Network, // kept elsewhere and reached over a network or a user-space server (NFS, SMB, FUSE)
    Pseudo   // made up by the kernel as it is read (proc, sysfs, debugfs and the like)
};
FileSystemKind FileSystemKindOf(int fd);

// A read lease on a file open for reading: while it is held, no program has the file open for
// writing, and one that opens it so (or truncates it) breaks the lease and waits until it is let
// go, which InUse() tells. Where leases are not to be had (a file of another owner without
// CAP_LEASE, a network or FUSE file system, leases turned off) it is Unavailable, and the caller
// falls back on comparing the file's identity. Let go when destroyed.
class ReadLease {
public:
    enum class State { Held, InUse, Unavailable };

    // `wanted` false: Unavailable without trying; so it must be on a network or FUSE file
    // system, where a lease sees only this machine's openers.
    explicit ReadLease(int fd, bool wanted = true);
    ~ReadLease();
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;

    State Taken() const { return state_; }
    // Whether some program has the file open for writing: refused the lease, or broke it since.
    bool InUse() const;
    // Lets the lease go now, so that a writer waiting on it goes on.
    void Release();

private:
    int fd_;
    State state_;
};
