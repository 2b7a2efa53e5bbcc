#include "platform/linux/picture/composed/moveSearch.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <utility>

#include "platform/linux/picture/composed/BlockComparison.h"
#include "platform/linux/picture/composed/Pattern.h"
#include "platform/linux/picture/composed/movedQuantisers.h"

namespace vesk::picture::composed {
namespace {

/// At most so many patterns are looked for, spread over what has changed.
constexpr std::size_t mostPatterns = 16;

/// If none of the first ones was in the image before, or no two of the next ones agree, too little
/// has moved to be worth more time.
constexpr std::size_t firstPatterns = 4;
constexpr std::size_t nextPatterns = 8;

/// Macroblocks in which each of them is looked for.
constexpr std::size_t tries = 12;

/// A distance that fewer patterns speak for is not looked at.
constexpr int fewestVotes = 2;

/// With so many votes more than any other there is no doubt.
constexpr int clearLead = 4;

/// Of distances that are looked at, so many macroblocks tell which is the best.
constexpr std::size_t samples = 64;
constexpr std::size_t mostDistances = 3;

/// Colours that have faded as often as this are smeared over a row and a half.
constexpr std::uint8_t oftenFaded = 3;

/// Not by even steps, which would follow one column of a rectangle: each number falls into the
/// largest gap between those before it.
std::size_t spread(std::size_t number, std::size_t count) {
  constexpr std::uint32_t goldenPart = 2654435769U;
  const std::uint32_t place = static_cast<std::uint32_t>(number) * goldenPart;
  return static_cast<std::size_t>(std::uint64_t{place} * count >> 32U);
}

struct Candidate {
  Shift shift;
  int votes = 0;
};

/// The distances by which patterns have moved, the one that most of them speak for in front.
class Candidates {
 public:
  void vote(const std::vector<Shift>& shifts) {
    for (const auto& shift : shifts) {
      const auto known = std::ranges::find(all_, shift, &Candidate::shift);
      if (known != all_.end()) {
        ++known->votes;
      } else {
        all_.push_back({shift, 1});
      }
    }
    std::ranges::stable_sort(all_, std::ranges::greater(), &Candidate::votes);
  }

  int mostVotes() const { return all_.empty() ? 0 : all_.front().votes; }
  int lead() const { return mostVotes() - (all_.size() > 1 ? all_[1].votes : 0); }
  const std::vector<Candidate>& all() const { return all_; }

 private:
  std::vector<Candidate> all_;
};

/// One search. Thread: one. Owns: what it has found out so far. Fails: never.
class Search {
 public:
  Search(const Nv12Image& before, const Nv12Image& now, const MoveLimits& limits)
      : before_(before),
        now_(now),
        limits_(limits),
        across_(macroblocksAcross(now.size().width)),
        down_(macroblocksAcross(now.size().height)),
        stayed_(before, now, {}) {
    for (std::size_t at = 0; at < now.changedAt.size(); ++at) {
      if (now.changedAt[at] > before.sequence) changed_.push_back(static_cast<int>(at));
    }
  }

  std::optional<FoundMove> result() const {
    if (changed_.size() < fewestMoved) return std::nullopt;
    const auto shift = best(candidates());
    if (!shift) return std::nullopt;
    return follow(*shift);
  }

 private:
  Candidates candidates() const {
    Candidates candidates;
    std::size_t found = 0;
    for (std::size_t part = 0; part < mostPatterns; ++part) {
      if (found == firstPatterns && candidates.mostVotes() < 1) break;
      if (found == nextPatterns && candidates.mostVotes() < 2) break;
      const auto pattern = choosePattern(part);
      if (!pattern) continue;
      ++found;
      candidates.vote(pattern->shifts(limits_.farthest));
      if (candidates.lead() >= clearLead) break;
    }
    return candidates;
  }

  /// Each in a part of its own of what has changed, the first ones far from each other.
  std::optional<Pattern> choosePattern(std::size_t number) const {
    static_assert(mostPatterns == 16);
    const std::size_t part =
        (number & 1U) << 3U | (number & 2U) << 1U | (number & 4U) >> 1U | (number & 8U) >> 3U;
    const std::size_t begin = changed_.size() * part / mostPatterns;
    const std::size_t count = changed_.size() * (part + 1) / mostPatterns - begin;
    for (std::size_t i = 0; i < std::min(tries, count); ++i) {
      const int at = changed_[begin + spread(part * tries + i, count)];
      if (auto pattern = Pattern::in(before_, now_, at / across_, at % across_)) return pattern;
    }
    return std::nullopt;
  }

  std::optional<Shift> best(const Candidates& candidates) const {
    // Samples may err by as much again.
    const std::size_t mostOfSamples = 2 * limits_.mostLeft * samples / changed_.size();
    std::optional<Shift> best;
    std::size_t most = 0;
    std::size_t looked = 0;
    for (const auto& [shift, votes] : candidates.all()) {
      if (votes < fewestVotes || looked++ == mostDistances) break;
      const BlockComparison came(before_, now_, shift);
      std::size_t moved = 0;
      std::size_t left = 0;
      for (std::size_t i = 0; i < samples; ++i) {
        const int at = changed_[spread(i, changed_.size())];
        if (!hasStayed(at)) ++(coming(came, at) != Likeness::none ? moved : left);
      }
      if (moved <= most || left > mostOfSamples) continue;
      most = moved;
      best = shift;
    }
    return best;
  }

  std::optional<FoundMove> follow(const Shift& shift) const {
    BlockComparison came(before_, now_, shift);
    const std::vector<std::uint8_t> none(now_.changedAt.size());
    FoundMove found{{across_, none, shift}, none, fadedBefore()};
    std::size_t needed = 0;  // that would be left without the move
    int row = -1;
    for (std::size_t i = 0; i < changed_.size(); ++i) {
      const int at = changed_[i];
      if (std::exchange(row, at / across_) != at / across_) {
        came.readAhead(row, at % across_, lastOfRow(i) % across_ + 1);
      }
      const Likeness likeness = coming(came, at);
      const bool isSame = likeness == Likeness::same;
      const bool beside = hasMovedNeighbour(found.moved, at);
      // Flat ground is the same either way, and then goes with its neighbours.
      const bool stayed = !(isSame && beside && needed >= fewestMoved) && hasStayed(at);
      if (stayed ? isSame && beside : likeness != Likeness::none) {
        if (!stayed) ++needed;
        move(found, at, likeness);
      } else if (!stayed) {
        found.left[static_cast<std::size_t>(at)] = 1;
        if (++found.leftCount > limits_.mostLeft) return std::nullopt;
      }
    }
    if (needed < fewestMoved) return std::nullopt;
    return found;
  }

  /// Of what has changed, in the row of the one with that number.
  int lastOfRow(std::size_t number) const {
    const int behind = (changed_[number] / across_ + 1) * across_;
    return *std::prev(std::ranges::lower_bound(changed_, behind));
  }

  std::vector<std::uint8_t> fadedBefore() const {
    return limits_.faded != nullptr ? *limits_.faded : std::vector<std::uint8_t>{};
  }

  void move(FoundMove& found, int at, Likeness likeness) const {
    const auto place = static_cast<std::size_t>(at);
    found.moved.marks[place] = 1;
    ++found.movedCount;
    if (limits_.faded == nullptr) return;
    const int more = likeness == Likeness::faded ? 1 : 0;
    found.faded[place] = static_cast<std::uint8_t>(fadedAtOrigin(at, found.moved.shift) + more);
  }

  int fadedAtOrigin(int at, const Shift& shift) const {
    return largestAtOrigin(*limits_.faded, across_, at / across_, at % across_, shift);
  }

  bool hasMovedNeighbour(const MovedBlocks& moved, int at) const {
    const int row = at / across_;
    const int column = at % across_;
    return (column > 0 && moved.isMoved(row, column - 1)) ||
           (row > 0 && moved.isMoved(row - 1, column));
  }

  /// How much it is like what it would have come from, if that may be.
  Likeness coming(const BlockComparison& came, int at) const {
    const int row = at / across_;
    const int column = at % across_;
    if (!comesFromInside(row, column, came.shift(), across_, down_)) return Likeness::none;
    const Likeness likeness = came.likeness(row, column);
    if (likeness != Likeness::faded) return likeness;
    const bool may = limits_.faded != nullptr && fadedAtOrigin(at, came.shift()) < oftenFaded;
    return may ? likeness : Likeness::none;
  }

  bool hasStayed(int at) const { return stayed_.isSame(at / across_, at % across_); }

  const Nv12Image& before_;
  const Nv12Image& now_;
  MoveLimits limits_;
  int across_;
  int down_;
  BlockComparison stayed_;
  std::vector<int> changed_;
};

}  // namespace

std::optional<FoundMove> findMove(const Nv12Image& before, const Nv12Image& now,
                                  const MoveLimits& limits) {
  return Search(before, now, limits).result();
}

}  // namespace vesk::picture::composed
