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
    sigset_t awaited;
    sigset_t before;
    sigemptyset(&awaited);
    sigaddset(&awaited, SIGCHLD);
    sigaddset(&awaited, SIGTERM);
    sigprocmask(SIG_BLOCK, &awaited, &before);
    if (argc < 3 || prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
        return 2;

    std::ofstream report(argv[1], std::ios::app);
    if (fork() == 0) {
        sigprocmask(SIG_SETMASK, &before, nullptr);
        execvp(argv[2], argv + 2);
        _exit(127);
    }
    for (int signal = 0; sigwait(&awaited, &signal) == 0;) {
        if (signal == SIGTERM) {
            std::ifstream children("/proc/thread-self/children");
            for (pid_t child = 0; children >> child;)
                kill(child, SIGTERM);
            return 128 + SIGTERM;
        }
        int status = 0;
        pid_t ended = 0;
        while ((ended = waitpid(-1, &status, WNOHANG)) > 0)
            report << ended << ' ' << (WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status))
                   << std::endl;
        if (ended < 0) // there is no child left
            return 0;
    }
}
