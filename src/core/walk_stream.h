// SPDX-License-Identifier: MIT
// How the results of a parallel walk come into its order. Each thread writes into a segment of its own; who gives a
// part of its work away puts that part's segment right behind its own. Only for the walk.
#pragma once

#include "core/parallel_walk.h"

#include <list>
#include <memory>
#include <utility>
#include <vector>

namespace kes::walk {

/// Results in their order, and what has to be told or decided between them. Used again.
struct Batch {
    struct Mark {
        std::size_t before = 0; ///< number of the result
        bool isLink = false;    ///< the linked folder `problem.path` stands here; else the problem does
        WalkProblem problem;
    };
    std::vector<std::shared_ptr<void>> results; ///< the first `used` are filled, the others are room
    std::size_t used = 0;
    std::vector<Mark> marks;
    Batch* next = nullptr; ///< in a queue
};

/// Takes and gives without needing memory.
class BatchQueue {
public:
    BatchQueue() = default;
    BatchQueue(BatchQueue&& other) noexcept
        : first_(std::exchange(other.first_, nullptr)), last_(std::exchange(other.last_, nullptr)) {}
    BatchQueue& operator=(BatchQueue&&) = delete;
    ~BatchQueue() {
        while (pop()) {
        }
    }
    void push(std::unique_ptr<Batch> batch) {
        batch->next = nullptr;
        (last_ ? last_->next : first_) = batch.get();
        last_ = batch.release();
    }
    void pushFirst(std::unique_ptr<Batch> batch) {
        batch->next = first_;
        first_ = batch.release();
        if (!last_)
            last_ = first_;
    }
    std::unique_ptr<Batch> pop() { // null when empty
        std::unique_ptr<Batch> batch(first_);
        if (first_)
            first_ = first_->next;
        if (!first_)
            last_ = nullptr;
        return batch;
    }

private:
    Batch *first_ = nullptr, *last_ = nullptr;
};

/// What one thread finds in an unbroken part of the walk.
struct Segment {
    std::size_t root = 0;
    BatchQueue ready{};
    bool done = false; ///< no more batches come
};
using Stream = std::list<Segment>;

} // namespace kes::walk
