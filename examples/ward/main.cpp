#include <cstdio>

int main() {
  std::puts("ward");
  return 1;
}
