// The kinds of aggregate a variable can be; the numbers are the runtime's own and are stored in
// every variable.
#ifndef TARN_VALUE_AGGREGATETYPE_H
#define TARN_VALUE_AGGREGATETYPE_H

enum AggregateType {
    AGGREGATE_STRUCTURE = 0,
    AGGREGATE_ARRAY = 1,
    AGGREGATE_NONE = 2,
};

#endif
