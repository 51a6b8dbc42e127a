// supervise REPORT COMMAND...: runs the command, and waits until it and all that it left running have ended.
// It becomes the parent of every process that loses its own, also of detached ones, and so learns their exit
// codes. It appends a line "PID CODE" for each to REPORT; 128 and more: killed by a signal. The road of ./run
// and of ./windows compiles and uses it.
#include <csignal>
#include <fstream>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char* argv[])
{
    if (argc < 3 || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        return 2;
    struct sigaction interrupt = {}; // SIGTERM ends the wait below.
    interrupt.sa_handler = [](int) {};
    sigaction(SIGTERM, &interrupt, nullptr);

    std::ofstream report(argv[1], std::ios::app);
    if (fork() == 0) {
        execvp(argv[2], argv + 2);
        _exit(127);
    }
    int status = 0;
    for (pid_t ended = 0; (ended = wait(&status)) > 0;)
        report << ended << ' ' << (WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status))
               << std::endl;

    std::ifstream children("/proc/thread-self/children");
    for (pid_t child = 0; children >> child;)
        kill(child, SIGTERM);
}
