// ksl-mpi: the program ksl in several processes, each with its piece of the data.
#include "Member.h"
#include "host/CommandWatch.h"
#include "host/Program.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <mpi.h>

namespace {

results::Communicator* s_communicator = nullptr;

// What a process does alone; mpirun would wait for the others.
bool isForOne(int argc, char** argv)
{
  return argc > 1 && std::strcmp(argv[1], "sweep") == 0;
}

int work(MpiCommunicator& communicator, int argc, char** argv)
{
  if (!communicator.isFirst()) {
    static_cast<void>(std::freopen("/dev/null", "w", stdout));
    Follower(communicator).run();
    return 0;
  }
  if (communicator.size() > 1 && isForOne(argc, argv)) {
    std::fprintf(stderr, "ksl-mpi %s: works in one process; use ksl.\n", argv[1]);
    const Leader leader(communicator);
    return 2;
  }
  Leader leader(communicator);
  return runProgram(argc, argv);
}

}  // namespace

results::Communicator* orvResultsCommunicator()
{
  return s_communicator;
}

int main(int argc, char** argv)
{
  int level = 0;
  MPI_Init_thread(&argc, &argv, MPI_THREAD_FUNNELED, &level);  // VTK has threads; they do not talk
  CommandWatch::heed(SIGTERM);                                 // mpirun's own way to pass on Ctrl-C
  int status = 0;
  {
    MpiCommunicator communicator;
    s_communicator = &communicator;
    status = work(communicator, argc, argv);
  }
  MPI_Finalize();
  return status;
}
