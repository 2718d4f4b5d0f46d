#include "tests/run_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace vorno::testing {
namespace {

std::string slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

}  // namespace

std::string makeTempFolder(const std::string& prefix) {
  std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
  return pattern;
}

std::string sourceDir() { return VORNO_SOURCE_DIR; }

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args,
                         const std::string& directory) {
  return runProcess(program, args, directory, {});
}

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& args, const std::string& directory,
                         const std::vector<std::pair<std::string, std::string>>& environment) {
  // Output goes to files rather than pipes, so a chatty child can never block on a full pipe.
  std::string scratch = makeTempFolder("vorno-run");
  std::string outPath = scratch + "/out", errPath = scratch + "/err";
  pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    int in = open("/dev/null", O_RDONLY);
    int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) _exit(126);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    if (!directory.empty() && chdir(directory.c_str()) != 0) _exit(126);
    for (const auto& [name, value] : environment) {
      if (value.empty())
        unsetenv(name.c_str());
      else
        setenv(name.c_str(), value.c_str(), 1);
    }
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  int raw = 0;
  while (waitpid(pid, &raw, 0) < 0) {
  }
  ProcessResult result;
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
  result.out = slurp(outPath);
  result.err = slurp(errPath);
  std::filesystem::remove_all(scratch);
  return result;
}

ProcessResult runVorno(const std::vector<std::string>& args, const std::string& directory) {
  return runProcess(VORNO_BINARY, args, directory);
}

}  // namespace vorno::testing
