#include "Film.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "ScratchFolder.h"
#include "running.h"

#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <sys/wait.h>

extern char** environ;

namespace results {

namespace {

// Its exit status; -1 when there is no such program.
int runProgram(std::vector<std::string> words)
{
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  for (const int stream : {0, 1, 2})
    posix_spawn_file_actions_addopen(&files, stream, "/dev/null", O_RDWR, 0);
  pid_t pid = 0;
  const int failure = posix_spawnp(&pid, arguments.front(), &files, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  int status = 0;
  if (failure != 0 || waitpid(pid, &status, 0) != pid)
    return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 126;
}

}  // namespace

std::optional<std::string> joined(const Film& film, const std::string& file, double perSecond)
{
  const ScratchFolder folder;
  for (std::size_t i = 0; i < film.pictures.size(); ++i) {
    orv::Progress::step();
    writeFile(folder.file(std::to_string(i) + ".png"), film.pictures[i]);
  }
  const std::string made = folder.file("film" + std::filesystem::path(file).extension().string());
  const int status = runProgram({"ffmpeg", "-y", "-loglevel", "error", "-framerate",
                                 orv::StringUtilities::toString(perSecond), "-i", folder.file("%d.png"),
                                 "-vf", "pad=ceil(iw/2)*2:ceil(ih/2)*2", "-pix_fmt", "yuv420p", made});
  if (status < 0) {
    orv::ErrorProgressReporter::instance()->reportError(
        orv::ErrorMsg("Results", "joinMovie",
                      orv::_("'%s' is not made: ffmpeg, which joins pictures, is not there (Debian's package "
                             "ffmpeg).",
                             file),
                      orv::errorType::warning));
    return std::nullopt;
  }
  if (status != 0)
    fail("joinMovie", orv::_("'%s' cannot be made: ffmpeg gives the exit status %d.", file, status));
  return readFile(made);
}

}  // namespace results
