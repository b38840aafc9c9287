#pragma once

#include <initializer_list>
#include <string>
#include <vector>

// A real folder tree under /tmp for one test, removed again afterwards (also when it holds
// paths longer than PATH_MAX). Relative names are bytes and may be any the file system takes.
class TestTree {
public:
    TestTree();
    ~TestTree();
    TestTree(const TestTree&) = delete;
    TestTree& operator=(const TestTree&) = delete;

    // The root folder, ending in "/".
    const std::string& Root() const { return root_; }
    std::string Dir() const { return root_.substr(0, root_.size() - 1); } // without the "/"
    std::string Path(const std::string& relative) const { return root_ + relative; }

    void Folder(const std::string& relative) const; // with missing parents
    void File(const std::string& relative) const;   // with missing parents
    void Folder(std::initializer_list<std::string> relatives) const;
    void File(std::initializer_list<std::string> relatives) const;
    void Link(const std::string& relative, const std::string& target) const;
    // Sets a file's modification time (seconds and nanoseconds since 1970).
    void SetTime(const std::string& relative, long seconds, long nanoseconds) const;
    // A chain of `levels` folders named `name` below `relative`, with one file "f.txt" in each;
    // returns the full paths of those files, top down. Built relative to descriptors, so the
    // chain may be far deeper and longer than PATH_MAX.
    std::vector<std::string> DeepChain(const std::string& relative, int levels,
                                       const std::string& name) const;

private:
    std::string root_;
};

// Every path below `root` (which ends in "/") in depth-first readdir order, folders whose name
// begins with "." left out; folders end in "/". The test's own independent account of the
// order the walk must keep.
std::vector<std::string> ReaddirOrder(const std::string& root);

// A file's bytes, and a file written with exactly these bytes.
std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);

// Whether anything (a dangling link too) is at `path`.
bool Exists(const std::string& path);
// Whether `s` ends with `end`, without regard to ASCII case.
bool EndsWith(const std::string& s, const std::string& end);
