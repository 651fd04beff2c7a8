// A program that calls the library a few times and then ends in the way that its argument says: an exit code, or a
// signal with "-" before it. A second argument is a shell command, which runs before that.
#include <TavrixSDK.h>
#include <signal.h>
#include <vy_frame_processor.h>
#include <vy_private_filter.h>

#include <cstdlib>

int main(int argc, char** argv) {
  vy_get_commit_hash();
  vy_error* error = nullptr;
  vy_create_frame_processor_context(nullptr, &error);
  if (error != nullptr) vy_delete_error(error);
  error = nullptr;
  // No context keeps the filter alive: the calls that follow fail.
  vy_filter_t* const filter = priv_create_filter("DisparityTransform", &error);
  if (filter == nullptr) return 100;
  priv_filter_get_name(filter, &error);
  priv_delete_filter(filter, &error);
  if (argc > 2 && std::system(argv[2]) != 0) return 101;
  const int end = argc > 1 ? std::atoi(argv[1]) : 0;
  if (end < 0) raise(-end);
  return end;
}
