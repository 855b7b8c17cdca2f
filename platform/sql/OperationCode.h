#pragma once
// Operation codes of the dialect's operators. The numbers are part of the
// dialect's contract (stored and compared as integers); never renumber.

namespace tessera::sql {

enum class OperationCode : int {
    None = 0,
    Or = 1,
    Xor = 2,
    And = 3,
    Not = 4,
    Equal = 5,
    NotEqual = 6,
    Less = 7,
    Greater = 8,
    IsNull = 9,
    SimilarTo = 10,
    IsNotNull = 11,
    Minus = 12,
    Multiply = 13,
    Negate = 14,
    UnaryPlus = 15,
    Exists = 16,
    LessOrEqual = 17,
    GreaterOrEqual = 18,
    Like = 19,
    Regexp = 20,
    NotLike = 21,
    Between = 22,
    NotBetween = 23,
    In = 24,
    NotIn = 25,
    Glob = 26,
    Concat = 27,
    Is = 28,
    IsNot = 29,
    NotRegexp = 30,
    Overlaps = 31,
    Plus = 32,
    NotGlob = 33,
    Collate = 34,
    Divide = 35,
    IntDivide = 36,
    Mod = 37,
    Power = 38,
    Contains = 39,
    ContainsPart = 40,
    ContainsEntire = 41,
    Intersects = 42,
    Within = 43,
    PartlyWithin = 44,
    EntirelyWithin = 45,
};

constexpr int operationCodeCount = 46;

namespace TernaryLogic {
enum Value : int { False = 0, Unknown = 1, True = 2 };
}

} // namespace tessera::sql
