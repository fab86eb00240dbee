// SPDX-License-Identifier: Apache-2.0
#ifndef BENCH_ROUNDS_H
#define BENCH_ROUNDS_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

namespace bench {

/// Things to measure beside each other. They take turns, a burst each, so that whatever else the machine does meets all
/// of them alike.
class Rounds final {
 public:
  using Clock = std::chrono::steady_clock;

  /// `act` is what takes time; of the times it takes one line is printed a round.
  void add(std::string name, std::function<void()> act) { contestants_.push_back({std::move(name), std::move(act)}); }

  /// Prints "NAME MEDIAN P99 MEAN" in nanoseconds for each burst, the first round left out: it is for warming up.
  void run(std::size_t rounds, std::size_t acts_a_burst) const {
    for (std::size_t round = 0; round <= rounds; ++round) {
      for (auto const& contestant : contestants_) {
        auto times = burst(contestant.act, acts_a_burst);
        if (round > 0) {
          print(contestant.name, times);
        }
      }
    }
  }

 private:
  struct Contestant {
    std::string name;
    std::function<void()> act;
  };
  using Times = std::vector<double>;

  static Times burst(std::function<void()> const& act, std::size_t acts) {
    Times times;
    times.reserve(acts);
    auto before = Clock::now();
    for (std::size_t i = 0; i < acts; ++i) {
      act();
      auto const after = Clock::now();
      times.push_back(std::chrono::duration<double, std::nano>(after - before).count());
      before = after;
    }
    return times;
  }

  static void print(std::string const& name, Times& times) {
    double sum = 0;
    for (double const time : times) {
      sum += time;
    }
    std::sort(times.begin(), times.end());
    std::cout << name << ' ' << times[times.size() / 2] << ' ' << times[times.size() * 99 / 100] << ' '
              << sum / static_cast<double>(times.size()) << '\n';
  }

  std::vector<Contestant> contestants_;
};

}  // namespace bench

#endif
