#pragma once

// A colour as the model hands it to the views: device RGB components and alpha, 0.0 to 1.0.
struct Colour {
    double red = 0, green = 0, blue = 0, alpha = 1;
    bool operator==(const Colour&) const = default;

    static constexpr Colour black() { return {0, 0, 0, 1}; }
    // The platform's standard grey (inactive projects).
    static constexpr Colour grey() { return {0.5, 0.5, 0.5, 1}; }
    static constexpr Colour dueToday() { return {0.75, 0, 0, 1}; }
    static constexpr Colour dueTomorrow() { return {0.7, 0.4, 0.1, 1}; }
    static constexpr Colour done() { return {0.35, 0.35, 0.35, 1}; }
    static constexpr Colour recurrence() { return {0, 0.5, 0, 1}; }
};
