// The smallest program that holds objects: it reads definitions, runs the commands of its standard input and prints
// the state. docs/embedding.md goes through it.
//
//   c++ -std=c++17 minimal.cpp $(pkg-config --cflags --libs orvksl) -o minimal
//   printf 'CUT: a\nEND\n' | ./minimal
#include "session/Session.h"

#include <iostream>
#include <iterator>
#include <string>

int main(int argc, char** argv)
{
  try {
    orv::Session session({argc > 1 ? argv[1] : ""});
    const orv::Outcome done = session.run(std::string(std::istreambuf_iterator<char>(std::cin), {}));
    for (const orv::ErrorMsg& error : done.errors())
      std::cerr << toText(error) << '\n';
    std::cout << session.state();
    return done ? 0 : 1;
  } catch (const orv::Error& error) {  // of the definitions
    std::cerr << toText(orv::ErrorMsg(error)) << '\n';
    return 1;
  }
}
