/*
 * print_system.cpp - a tree of links to the machine's print system, with a configuration of its own
 */
#include "tests/cups/print_system.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/postscript/print_job.h"
#include "tests/support/pdf_builder.h"
#include "tests/support/picture.h"

namespace fs = std::filesystem;

namespace {

constexpr char SYSTEM_PROGRAMS[] = "/usr/lib/cups";
constexpr char SYSTEM_DATA[] = "/usr/share/cups";
constexpr auto PATIENCE = std::chrono::seconds(120);
constexpr auto PAUSE = std::chrono::milliseconds(20);

/* A socket that listens on a free port of the loopback interface. */
int listenOnFreePort(int *port)
{
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    constexpr int BACKLOG = 64;
    if (fd < 0 || bind(fd, (sockaddr *)&address, length) != 0 || listen(fd, BACKLOG) != 0 ||
        getsockname(fd, (sockaddr *)&address, &length) != 0) {
        perror("a port of the loopback interface");
        abort();
    }
    *port = ntohs(address.sin_port);
    return fd;
}

int freePort()
{
    int port;
    close(listenOnFreePort(&port));
    return port;
}

void linkAll(const fs::path &from, const fs::path &to)
{
    fs::create_directories(to);
    for (const auto &entry : fs::directory_iterator(from))
        if (!fs::exists(to / entry.path().filename()))
            fs::create_symlink(entry.path(), to / entry.path().filename());
}

} // namespace

std::string filterPath()
{
    return FILTER_PROGRAM;
}

std::string printerDescription()
{
    return PACKAGING_DIRECTORY "/pdf_to_ps.ppd";
}

std::string boxedPages(int count)
{
    PdfBuilder pdf;
    for (int page = 1; page <= count; page++) {
        std::string content = "0.1 0.3 0.6 rg 100 700 300 40 re f\n";
        for (int box = 0; box < page; box++)
            content += std::to_string(60 + 60 * (box % 8)) + " " +
                       std::to_string(550 - 60 * (box / 8)) + " 40 40 re f\n";
        pdf.addPage("/MediaBox [0 0 595 842] /Contents " + ref(pdf.addStream("", content)));
    }
    return pdf.build();
}

void expectPages(const std::string &job, const std::string &document,
                 const std::vector<int> &numbers)
{
    constexpr int DPI = 40;
    PrintedJob printed = printFile(job, DPI);
    EXPECT_EQ(faultsOf(printed), std::vector<std::string>{});
    std::vector<Picture> wanted = renderPdf(document, DPI);
    ASSERT_EQ(printed.pages.size(), numbers.size());
    for (size_t i = 0; i < numbers.size(); i++) {
        PictureDifference difference =
            comparePictures(printed.pages[i], wanted.at((size_t)numbers[i] - 1));
        EXPECT_TRUE(isRight(difference)) << "page " << i + 1 << ": " << describe(difference);
    }
}

bool waitUntil(const std::function<bool()> &isSo)
{
    auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(PAUSE);
    }
    return true;
}

/* ---- programs */

RunningProgram::RunningProgram(const std::vector<std::string> &command,
                               const std::map<std::string, std::string> &environment, int input,
                               int output)
{
    std::vector<char *> words;
    for (const std::string &word : command)
        words.push_back(const_cast<char *>(word.c_str()));
    words.push_back(nullptr);
    child = fork();
    if (child != 0)
        return;
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    setpgid(0, 0);
    signal(SIGPIPE, SIG_DFL);
    int nothing = open("/dev/null", O_RDWR);
    dup2(input >= 0 ? input : nothing, STDIN_FILENO);
    dup2(output >= 0 ? output : nothing, STDOUT_FILENO);
    dup2(nothing, STDERR_FILENO);
    for (const auto &[name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    execvp(words[0], words.data());
    _exit(127);
}

RunningProgram::~RunningProgram()
{
    terminate();
    wait();
}

void RunningProgram::terminate()
{
    if (!isOver)
        kill(child, SIGTERM);
}

bool RunningProgram::hasEnded()
{
    isOver = isOver || waitpid(child, &status, WNOHANG) == child;
    return isOver;
}

int RunningProgram::wait()
{
    while (!isOver && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    isOver = true;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

bool RunningProgram::hasProcesses() const
{
    return kill(-child, 0) == 0 || errno == EPERM;
}

/* ---- the tree */

PrintSystem::PrintSystem()
{
    /* The scheduler runs filters as another user. */
    fs::permissions(root.path, fs::perms(0755));
    for (const char *directory : {"bin", "lib/cups/filter", "lib/cups/backend", "share/cups/mime",
                                  "etc/ppd", "spool/tmp", "cache", "log", "run"})
        fs::create_directories(root / directory);
    if (fs::exists(PROGRAM_DIRECTORY "/pdf_prepare"))
        fs::copy_file(PROGRAM_DIRECTORY "/pdf_prepare", root / "bin/pdf_prepare");
    fs::copy_file(filterPath(), filter());
    linkAll(std::string(SYSTEM_PROGRAMS) + "/filter", root / "lib/cups/filter");
    linkAll(SYSTEM_PROGRAMS, root / "lib/cups");
    fs::create_symlink(std::string(SYSTEM_PROGRAMS) + "/backend/socket",
                       root / "lib/cups/backend/socket");
    for (const auto &entry : fs::directory_iterator(std::string(SYSTEM_DATA) + "/mime"))
        fs::copy(entry.path(), fs::path(root / "share/cups/mime") / entry.path().filename());
    linkAll(SYSTEM_DATA, root / "share/cups");
    root.write("share/cups/mime/pdf_to_ps.convs", ownConversions());
    std::string base = root.path + "/";
    root.write("etc/cups-files.conf",
               "ServerRoot " + base + "etc\nServerBin " + base + "lib/cups\nDataDir " + base +
                   "share/cups\n" + "RequestRoot " + base + "spool\nTempDir " + base +
                   "spool/tmp\nCacheDir " + base + "cache\nStateDir " + base + "run\nAccessLog " +
                   base + "log/access\n" + "ErrorLog " + base + "log/error\nPageLog " + base +
                   "log/page\nFatalErrors none\n");
}

std::string PrintSystem::ownConversions()
{
    return readFile(PACKAGING_DIRECTORY "/pdf_to_ps.convs");
}

void PrintSystem::setConversions(const std::string &text)
{
    for (const auto &entry : fs::directory_iterator(root / "share/cups/mime"))
        if (entry.path().extension() == ".convs")
            fs::remove(entry.path());
    root.write("share/cups/mime/test.convs", text);
}

ProgramResult PrintSystem::convert(std::vector<std::string> arguments) const
{
    arguments.insert(arguments.begin(), {"cupsfilter", "-c", filesConfiguration()});
    ProgramOptions options;
    options.directory = root.path;
    options.environment = {{"TMPDIR", temporary()},
                           {"PATH", std::string(getenv("PATH")) + ":/usr/sbin"}};
    return runProgram(arguments, options);
}

/* ---- the printer */

SocketPrinter::SocketPrinter() : listener(listenOnFreePort(&number))
{
    thread = std::thread([this] { work(); });
}

SocketPrinter::~SocketPrinter()
{
    isOver = true;
    thread.join();
    close(listener);
}

std::vector<std::string> SocketPrinter::jobs() const
{
    std::lock_guard lock(guard);
    return finished;
}

void SocketPrinter::work()
{
    constexpr int LOOK_AROUND = 50;
    while (!isOver) {
        pollfd polled = {listener, POLLIN, 0};
        if (poll(&polled, 1, LOOK_AROUND) <= 0)
            continue;
        int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0)
            takeJob(connection);
    }
}

void SocketPrinter::takeJob(int connection)
{
    constexpr int LOOK_AROUND = 50;
    std::string job;
    char buffer[16384];
    while (!isOver) {
        if (isHeld && !job.empty()) {
            std::this_thread::sleep_for(PAUSE);
            continue;
        }
        pollfd polled = {connection, POLLIN, 0};
        if (poll(&polled, 1, LOOK_AROUND) <= 0)
            continue;
        ssize_t got = read(connection, buffer, isHeld ? 64 : sizeof buffer);
        if (got <= 0)
            break;
        if (job.empty())
            begun++;
        job.append(buffer, (size_t)got);
    }
    close(connection);
    if (job.empty())
        return;
    std::lock_guard lock(guard);
    finished.push_back(job);
}

/* ---- the scheduler */

Scheduler::Scheduler(const PrintSystem &own, const SocketPrinter &printer) : system(&own)
{
    constexpr int ATTEMPTS = 3; /* another one may take the port first */
    for (int i = 0; i < ATTEMPTS; i++)
        if (start()) {
            addQueue(printer);
            return;
        }
    trouble = "cupsd does not start here";
    std::ifstream log(system->root / "log/error");
    for (std::string line; std::getline(log, line);)
        trouble += "\n" + line;
}

bool Scheduler::start()
{
    address = "127.0.0.1:" + std::to_string(freePort());
    std::string configuration = system->root.write(
        "etc/cupsd.conf", "Listen " + address +
                              "\nLogLevel debug\nBrowsing Off\nWebInterface No\nDefaultAuthType "
                              "None\nMaxLogSize 0\nPageLogFormat %p %j %{job-impressions-completed}"
                              "\n<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
                              "<Policy default>\n<Limit All>\nOrder deny,allow\n</Limit>\n"
                              "</Policy>\n");
    process = std::make_unique<RunningProgram>(
        std::vector<std::string>{"/usr/sbin/cupsd", "-f", "-c", configuration, "-s",
                                 system->filesConfiguration()},
        std::map<std::string, std::string>{});
    bool isRunning = false;
    waitUntil([&] {
        isRunning = run({"lpstat", "-r"}).out.find("is running") != std::string::npos;
        return isRunning || process->hasEnded();
    });
    return isRunning;
}

void Scheduler::addQueue(const SocketPrinter &printer)
{
    std::string device = "socket://127.0.0.1:" + std::to_string(printer.port()) + "/?snmp=off";
    ProgramResult result =
        run({"lpadmin", "-p", "office", "-P", printerDescription(), "-v", device, "-E"});
    if (result.status != 0)
        trouble = "The queue cannot be made: " + result.err;
}

ProgramResult Scheduler::run(const std::vector<std::string> &command) const
{
    ProgramOptions options;
    options.environment = {{"CUPS_SERVER", address},
                           {"PATH", std::string(getenv("PATH")) + ":/usr/sbin"}};
    return runProgram(command, options);
}

int Scheduler::print(const std::string &file, const std::vector<std::string> &options)
{
    std::vector<std::string> command = {"lp", "-d", "office"};
    for (const std::string &option : options)
        command.insert(command.end(), {"-o", option});
    command.push_back(file);
    ProgramResult result = run(command);
    const std::string mark = "office-";
    size_t at = result.out.find(mark);
    EXPECT_NE(at, std::string::npos) << result.out << result.err;
    return at == std::string::npos
               ? 0
               : (int)strtol(result.out.c_str() + at + mark.size(), nullptr, 10);
}

std::map<int, std::string> Scheduler::states() const
{
    std::string question =
        system->root.write("jobs.test", "{ OPERATION Get-Jobs GROUP operation-attributes-tag\n"
                                        "ATTR charset attributes-charset utf-8\n"
                                        "ATTR naturalLanguage attributes-natural-language en\n"
                                        "ATTR uri printer-uri $uri ATTR keyword which-jobs all\n"
                                        "ATTR keyword requested-attributes job-id,job-state\n"
                                        "DISPLAY job-id DISPLAY job-state }\n");
    ProgramResult result =
        run({"ipptool", "-c", "ipp://" + address + "/printers/office", question});
    std::map<int, std::string> states;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line);)
        if (int job = (int)strtol(line.c_str(), nullptr, 10); job > 0)
            states[job] = line.substr(line.find(',') + 1);
    return states;
}

bool Scheduler::waitForState(int job, const std::string &state) const
{
    return waitUntil([&] { return states()[job] == state; });
}

std::string Scheduler::logOf(int job) const
{
    std::istringstream lines(readFile(system->root / "log/error"));
    std::string mark = "[Job " + std::to_string(job) + "]", found;
    for (std::string line; std::getline(lines, line);)
        if (line.find(mark) != std::string::npos)
            found += line + "\n";
    return found;
}
