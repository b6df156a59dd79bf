#pragma once
#include <random>

/// Even draws between two numbers, the same in every run.
class Draw {
public:
    explicit Draw(unsigned int seedOfDraw) : generator_(seedOfDraw) {}
    double operator()(double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(generator_);
    }

private:
    std::mt19937 generator_;
};
