// Drives the verbose report in a fresh process, where the header has not been
// printed yet and the output file comes from the environment.
//
//   verbose_probe header <iface>          prints the header twice (only the first may appear)
//   verbose_probe lines <iface> <threads> <threads> threads report one call each, all at once
#include <orb/orb_service.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

int main(int argc, char **argv) {
  if (argc < 3) return 2;
  const int iface = std::atoi(argv[2]);
  if (std::strcmp(argv[1], "header") == 0) {
    orb_serv_print_verbose_header(iface);
    orb_serv_print_verbose_header(iface);
    return 0;
  }
  if (std::strcmp(argv[1], "lines") != 0 || argc < 4) return 2;
  const int threads = std::atoi(argv[3]);
  std::atomic<int> waiting{threads};
  std::vector<std::thread> pool;
  for (int i = 0; i < threads; ++i)
    pool.emplace_back([&, i] {
      const std::string text = "CALL" + std::to_string(i);
      // Release every thread at once, so that the first calls race for the header.
      waiting.fetch_sub(1);
      while (waiting.load() > 0) std::this_thread::yield();
      orb_serv_print_verbose_info(iface, text.c_str(), 0.5);
    });
  for (auto &t : pool) t.join();
  return 0;
}
