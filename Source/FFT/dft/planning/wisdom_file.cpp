#include "dft/planning/wisdom_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#if defined(__x86_64__) || defined(__i386__)
#include <sys/platform/x86.h>
#endif

namespace fennel::planning {
namespace {

constexpr char kMagic[] = "fennel-dsp wisdom 1\n";

// Not std::to_string: its digit table is a unique symbol, which would keep
// the library from ever being unloaded.
std::string Decimal(unsigned long v) {
    char text[24];
    std::snprintf(text, sizeof text, "%lu", v);
    return text;
}

const char *NameOf(DFTI_CONFIG_VALUE precision) { return precision == DFTI_SINGLE ? "float" : "double"; }

// The processor's vendor, model (family, model and stepping) and usable
// vector extensions, and the number of cores plans may use: wisdom measured
// on another machine or core count is not ours.  Read from what the C
// library and the compiler's runtime kept at load: each cpuid instruction
// traps to the hypervisor in a virtual machine (about 10 us here), which a
// first call would pay.  Made once.
std::string MakeMachineKey() {
    std::string key;
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    key += __builtin_cpu_is("intel") ? "GenuineIntel" : __builtin_cpu_is("amd") ? "AuthenticAMD" : "x86";
    const cpuid_feature *leaf1 = __x86_get_cpuid_feature_leaf(CPUID_INDEX_1);
    const cpuid_feature *leaf7 = __x86_get_cpuid_feature_leaf(CPUID_INDEX_7);
    key += " sig " + Decimal(leaf1->cpuid_array[cpuid_register_index_eax]);
    key += " features " + Decimal(leaf1->active_array[cpuid_register_index_ecx]) + " " +
           Decimal(leaf7->active_array[cpuid_register_index_ebx]);
#else
    key += "cpu";
#endif
    key += " cores " + Decimal(static_cast<unsigned long>(engine::ThreadsFor(std::ptrdiff_t{1} << 40)));
    return key;
}

const std::string &MachineKey() {
    static const std::string key = MakeMachineKey();
    return key;
}

uint64_t Fnv1a(const char *p, size_t n) {
    uint64_t h = 1469598103934665603ull;
    for (size_t i = 0; i < n; ++i) h = (h ^ static_cast<unsigned char>(p[i])) * 1099511628211ull;
    return h;
}

std::string Header(const char *precision) {
    return std::string(kMagic) + "precision " + precision + "\nfftw " + engine::FftwVersion() +
           "\nmachine " + MachineKey() + "\n";
}

std::string FilePath(DFTI_CONFIG_VALUE precision) {
    const std::string folder = WisdomFolder();
    return folder.empty() ? folder : folder + "/wisdom-" + NameOf(precision);
}

bool ReadFile(const std::string &path, std::string &text) {
    FILE *f = std::fopen(path.c_str(), "rb");
    if (f == nullptr) return false;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) text.append(buffer, n);
    const bool ok = std::ferror(f) == 0;
    std::fclose(f);
    return ok;
}

// mkdir -p; existing folders are fine.
bool MakeFolders(const std::string &path) {
    for (size_t i = 1; i <= path.size(); ++i)
        if (i == path.size() || path[i] == '/') {
            const std::string part = path.substr(0, i);
            if (mkdir(part.c_str(), 0755) != 0 && errno != EEXIST) return false;
        }
    return true;
}

bool WriteAll(int fd, const std::string &text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

}  // namespace

std::string WisdomFolder() {
    if (const char *dir = std::getenv("FENNEL_DSP_WISDOM_DIR")) return dir;
    const char *xdg = std::getenv("XDG_CACHE_HOME");
    if (xdg != nullptr && xdg[0] == '/') return std::string(xdg) + "/fennel-dsp";
    const char *home = std::getenv("HOME");
    if (home != nullptr && home[0] != '\0') return std::string(home) + "/.cache/fennel-dsp";
    return std::string();
}

std::string Pack(DFTI_CONFIG_VALUE precision) {
    char *wisdom = engine::ExportWisdom(precision);
    if (wisdom == nullptr) return std::string();
    const size_t n = std::strlen(wisdom);
    char line[64];
    std::snprintf(line, sizeof line, "bytes %zu fnv1a %016llx\n", n,
                  static_cast<unsigned long long>(Fnv1a(wisdom, n)));
    std::string text = Header(NameOf(precision)) + line;
    text.append(wisdom, n);
    std::free(wisdom);
    return text;
}

bool Unpack(const char *text, size_t size, size_t &used) {
    used = 0;
    for (DFTI_CONFIG_VALUE precision : {DFTI_DOUBLE, DFTI_SINGLE}) {
        const std::string header = Header(NameOf(precision));
        if (size < header.size() || std::memcmp(text, header.data(), header.size()) != 0) continue;
        const char *p = text + header.size();
        const char *end = static_cast<const char *>(std::memchr(p, '\n', size - header.size()));
        size_t n = 0;
        unsigned long long sum = 0;
        if (end == nullptr || std::sscanf(p, "bytes %zu fnv1a %16llx\n", &n, &sum) != 2) return false;
        const size_t start = static_cast<size_t>(end + 1 - text);
        if (n > size - start || Fnv1a(text + start, n) != sum) return false;
        const std::string wisdom(text + start, n);
        if (!engine::ImportWisdom(precision, wisdom.c_str())) return false;
        used = start + n;
        return true;
    }
    return false;
}

bool LoadWisdomFile(DFTI_CONFIG_VALUE precision) {
    const std::string path = FilePath(precision);
    std::string text;
    size_t used = 0;
    return !path.empty() && ReadFile(path, text) && Unpack(text.data(), text.size(), used);
}

bool SaveWisdomFile(DFTI_CONFIG_VALUE precision) {
    const std::string path = FilePath(precision);
    if (path.empty() || !MakeFolders(WisdomFolder())) return false;
    // What another process wrote since stays: FFTW merges imported wisdom.
    // The merge and the write hold a lock on a file of their own, so that
    // two processes saving at once never drop each other's wisdom.  Waited
    // for a tenth of a second at most (a save takes milliseconds): without
    // it, as on a file system without locks, the rename still leaves a
    // whole file, and an unload never waits on another process.
    const int lock = open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    for (int tries = 0; lock >= 0 && flock(lock, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK && tries < 100;
         ++tries)
        usleep(1000);
    struct Unlock {
        int fd;
        ~Unlock() {
            if (fd >= 0) close(fd);  // releases the lock
        }
    } unlock{lock};
    LoadWisdomFile(precision);
    const std::string text = Pack(precision);
    if (text.empty()) return false;
    const std::string temp = path + ".tmp." + Decimal(static_cast<unsigned long>(getpid())) + "." +
                             Decimal(static_cast<unsigned long>(gettid()));
    const int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    const bool written = WriteAll(fd, text) && fsync(fd) == 0;
    if (close(fd) != 0 || !written || rename(temp.c_str(), path.c_str()) != 0) {
        unlink(temp.c_str());
        return false;
    }
    return true;
}

bool RemoveWisdomFiles() {
    bool ok = true;
    for (DFTI_CONFIG_VALUE precision : {DFTI_DOUBLE, DFTI_SINGLE}) {
        const std::string path = FilePath(precision);
        if (!path.empty() && unlink(path.c_str()) != 0 && errno != ENOENT) ok = false;
    }
    return ok;
}

}  // namespace fennel::planning
