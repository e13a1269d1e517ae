#include "read/ReadingProcess.h"

#include "picture/Errors.h"
#include "picture/HalfOfMemory.h"
#include "picture/PictureLibrary.h"
#include "picture/SizeWatch.h"
#include "read/Confinement.h"
#include "read/InputFile.h"
#include "read/PictureParcel.h"
#include "read/PictureReader.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <libheif/heif.h>
#include <new>
#include <optional>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace SelvaneHost
{

namespace
{

// Descriptors in the process that decodes.
constexpr int kParcel = 3; // the file in memory
constexpr int kTalk = 4;   // to the parent: the size of the picture, and a byte back that lets it go on
constexpr int kFirstFree = 10;

constexpr const char* kUnconfined = "decoding without a sandbox: the system refuses the filter of system calls: ";

std::optional<sReadLimits> gLimits; // set once, before any thread

// ---- The parent -----------------------------------------------------------------------------------------------------

/// A descriptor that is closed, and stays away from those of the process that decodes.
class cDescriptor
{
public:
    explicit cDescriptor(int pDescriptor) : fDescriptor(::fcntl(pDescriptor, F_DUPFD_CLOEXEC, kFirstFree))
    {
        const int error = errno;
        ::close(pDescriptor);
        if (fDescriptor < 0) throw cHostError("cannot be read: " + SystemWords(error));
    }
    ~cDescriptor() { Close(); }
    cDescriptor(const cDescriptor&) = delete;
    cDescriptor& operator=(const cDescriptor&) = delete;
    operator int() const { return fDescriptor; }
    void Close()
    {
        if (fDescriptor >= 0) ::close(fDescriptor);
        fDescriptor = -1;
    }

private:
    int fDescriptor;
};

/// The two ends of a conversation.
struct sTalk
{
    explicit sTalk(const std::array<int, 2>& pEnds) : fParent(pEnds[0]), fChild(pEnds[1]) {}
    cDescriptor fParent;
    cDescriptor fChild;
};

std::array<int, 2> NewPair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw cHostError("cannot be read: " + SystemWords(errno));
    return ends;
}

/// What the new process begins with: its two descriptors, and nobody else to talk to.
class cBeginning
{
public:
    cBeginning(int pParcel, int pTalk)
    {
        ::posix_spawn_file_actions_init(&fActions);
        ::posix_spawn_file_actions_addopen(&fActions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addopen(&fActions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_adddup2(&fActions, pParcel, kParcel);
        ::posix_spawn_file_actions_adddup2(&fActions, pTalk, kTalk);
    }
    ~cBeginning() { ::posix_spawn_file_actions_destroy(&fActions); }
    cBeginning(const cBeginning&) = delete;
    cBeginning& operator=(const cBeginning&) = delete;
    const posix_spawn_file_actions_t* Actions() const { return &fActions; }

private:
    posix_spawn_file_actions_t fActions{};
};

pid_t Start(const std::string& pPath, const sReadOptions& pOptions, int pParcel, int pTalk)
{
    const std::array<std::string, 9> words = {"selvane",
                                              kReadingWord,
                                              std::to_string(gLimits->fMegapixels),
                                              std::to_string(gLimits->fBytes),
                                              std::to_string(gLimits->fSeconds),
                                              pOptions.fAsEntry ? "entry" : "",
                                              pOptions.fInputSpace ? InputSpaceWord(*pOptions.fInputSpace) : "",
                                              pOptions.fLayer,
                                              pPath};
    std::array<char*, words.size() + 1> arguments{};
    std::transform(words.begin(), words.end(), arguments.begin(),
                   [](const std::string& pWord) { return const_cast<char*>(pWord.c_str()); });
    const cBeginning beginning(pParcel, pTalk);
    pid_t process = 0;
    const int error =
        ::posix_spawn(&process, "/proc/self/exe", beginning.Actions(), nullptr, arguments.data(), environ);
    if (error != 0) throw cHostError("the process that decodes it does not start: " + SystemWords(error));
    return process;
}

int WaitFor(pid_t pProcess)
{
    int status = 0;
    while (::waitpid(pProcess, &status, 0) < 0)
        if (errno != EINTR) throw cHostError("the process that decodes it is lost: " + SystemWords(errno));
    return status;
}

/// Size and form of a picture, as the two processes tell each other.
struct sSizeWords
{
    int32_t fWidth, fHeight, fForm, fChannels;
};

/// Whether the form is one that a picture has. The other process may send anything.
bool IsKnown(const sSizeWords& pWords)
{
    return pWords.fForm >= eSamples8 && pWords.fForm <= eFloats && (pWords.fChannels == 3 || pWords.fChannels == 4);
}

/// Waits for the size of the picture, and lets the other process go on when SetSize, and who watches it, agrees. The
/// size never comes if the picture cannot be read.
/// @throws what SetSize throws
void AgreeOnSize(int pTalk)
{
    sSizeWords words{};
    if (::recv(pTalk, &words, sizeof words, MSG_WAITALL) != ssize_t{sizeof words} || !IsKnown(words)) return;
    sPicture picture;
    SetSize(picture, words.fWidth, words.fHeight, static_cast<eSampleForm>(words.fForm), words.fChannels);
    ::send(pTalk, "", 1, MSG_NOSIGNAL);
}

/// Leaves the warning about the sandbox to the first picture of the run. It is about the system, not about the picture.
void WarnOnceOfSandbox(sPicture& pPicture)
{
    static std::atomic_flag isTold;
    const auto isOfSandbox = [](const std::string& pWarning) { return pWarning.starts_with(kUnconfined); };
    if (std::ranges::any_of(pPicture.fWarnings, isOfSandbox) && isTold.test_and_set())
        std::erase_if(pPicture.fWarnings, isOfSandbox);
}

[[noreturn]] void Explain(int pStatus)
{
    const int number = WIFSIGNALED(pStatus) ? WTERMSIG(pStatus) : 0;
    if (number == SIGXCPU || number == SIGKILL)
        throw cHostError("takes too long or too much memory to decode (the limit is " +
                         std::to_string(gLimits->fSeconds) + " seconds of a processor)");
    if (number == SIGSYS) throw cHostError("cannot be decoded: it made the decoder do what it must not");
    if (number == SIGABRT || number == SIGTRAP)
        throw cHostError("cannot be decoded: not enough memory for this picture, or it is damaged");
    if (number != 0)
        throw cHostError("cannot be decoded: the decoder crashed (" + std::string(::strsignal(number)) + ")");
    throw cHostError("cannot be decoded: the decoder ended early");
}

/// A process that runs. One that nobody waited for is ended.
class cProcess
{
public:
    explicit cProcess(pid_t pProcess) : fProcess(pProcess) {}
    ~cProcess()
    {
        if (fProcess == 0) return;
        ::kill(fProcess, SIGKILL);
        ::waitpid(fProcess, nullptr, 0);
    }
    cProcess(const cProcess&) = delete;
    cProcess& operator=(const cProcess&) = delete;
    int Wait() { return WaitFor(std::exchange(fProcess, 0)); }

private:
    pid_t fProcess;
};

// ---- The process that decodes ---------------------------------------------------------------------------------------

/// Settings of the libraries that would not survive the confinement: no machine code of their own, no files.
void PrepareLibraries()
{
    ::setenv("VIPS_NOVECTOR", "1", 1);
    ::setenv("VIPS_CONCURRENCY", "1", 1);
    ::setenv("VIPS_DISC_THRESHOLD", "1000g", 1);
    StartPictureLibrary();
    ::heif_init(nullptr); // loads its decoders
}

/// Tells the parent the size of the picture, and waits until it agrees.
void TellSize(const sPicture& pPicture)
{
    const sSizeWords words{pPicture.fWidth, pPicture.fHeight, pPicture.fForm, pPicture.fChannels};
    char agreed = 0;
    if (::write(kTalk, &words, sizeof words) != ssize_t{sizeof words} || ::read(kTalk, &agreed, 1) != 1) ::_exit(1);
}

/// Gives up all that reading does not need. Returns a warning if the system does not let it; the limits hold then too.
std::string Confine(const sReadLimits& pLimits)
{
    LimitResources(pLimits.fBytes, pLimits.fSeconds);
    if (ForbidAllButReading({kParcel, kTalk}) || !kCanBeConfined) return {};
    return std::string(kUnconfined) + SystemWords(errno);
}

void Decode(const std::string& pPath, const sReadOptions& pOptions, const sReadLimits& pLimits)
{
    SetMostPixels(pLimits.fMegapixels * 1000000);
    const tBytes bytes = ReadFile(pPath, CheckKind);
    PrepareLibraries();
    const std::string unconfined = Confine(pLimits);
    const cSizeWatch watch(TellSize);
    sPicture picture = ReadPicture(bytes, pOptions);
    if (!unconfined.empty()) picture.fWarnings.push_back(unconfined);
    SendPicture(kParcel, std::move(picture));
}

uint64_t NumberOf(const std::string& pWord)
{
    return std::strtoull(pWord.c_str(), nullptr, 10);
}

} // namespace

void UseReadingProcesses(const sReadLimits& pLimits)
{
    gLimits = pLimits;
    if (gLimits->fBytes == 0) gLimits->fBytes = HalfOfMemory();
    SetMostPixels(gLimits->fMegapixels * 1000000); // this process checks what it is handed by the same limit
}

sPicture ReadInProcess(const std::string& pPath, const sReadOptions& pOptions)
{
    if (!gLimits) {
        StartPictureLibrary();
        return ReadPictureFile(pPath, pOptions);
    }
    const cDescriptor parcel(::memfd_create("selvane-picture", MFD_CLOEXEC));
    sTalk talk(NewPair());
    cProcess process(Start(pPath, pOptions, parcel, talk.fChild));
    talk.fChild.Close(); // so that its end is seen
    AgreeOnSize(talk.fParent);
    const int status = process.Wait();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) Explain(status);
    sPicture picture = ReceivePicture(parcel);
    WarnOnceOfSandbox(picture);
    return picture;
}

int RunReadingProcess(const std::vector<std::string>& pWords)
{
    if (pWords.size() != 7) return 2;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const sReadLimits limits{static_cast<int64_t>(NumberOf(pWords[0])), NumberOf(pWords[1]), NumberOf(pWords[2])};
    const sReadOptions options{!pWords[3].empty(), InputSpaceOfWord(pWords[4]), pWords[5]};
    try {
        Decode(pWords[6], options, limits);
    } catch (const cUsageError& failure) {
        SendFailure(kParcel, eParcelUsage, failure.what());
    } catch (const std::bad_alloc&) {
        SendFailure(kParcel, eParcelNoMemory, "");
    } catch (const std::exception& failure) {
        SendFailure(kParcel, eParcelFailure, failure.what());
    }
    ::_exit(0); // no library has to tidy up, and none could
}

} // namespace SelvaneHost
