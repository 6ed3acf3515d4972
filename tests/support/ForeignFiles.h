// SPDX-License-Identifier: MIT
//
// Small packed files of other programs, for tests and as seeds.
#pragma once

#include <zlib.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "tests/support/Base64.h"

namespace kvx::test {

// Written by SciPy 1.10: t and a; a structure s with complex H, df = 0.5 and unit = "g".
inline constexpr const char* kCompressedVariables =
    "DwAAADAAAAB4nONjYGAIAGI2IOaA0iDACuUzAjELmGZkKAHSnECswIAODthD6AtQ+oY9AGGrBEkPAAAANAAAAHic42NgYAgAYjYg5oDS"
    "IMAK5TMCMQuYZmRIBNKcQKzAAAM/7KGMAxCKwwFCCzgAAG95A6APAAAAdgAAAHic42NgYFBgZGBgA9IcQMzEAAGsUD4jHDMyFIPFWcBy"
    "IDF+IPYAKU5JAxKleZklDAx8QFYEA8I8Ng5M85igNAhwArEAAwx8sIfQHA6o4gwOEErgAMh8C2TzcboXYT4H3JgH9iD9Bkj6WQjoFwCy"
    "0oE0ANwoCXI=";

// np.savez_compressed(fs=8.0, a=np.asfortranarray(np.arange(6.).reshape(3, 2)), names=['x', 'y'],
// units=['g', 'm/s'])
inline constexpr const char* kDeflatedArrays =
    "UEsDBBQAAAAIAAAAIQCTVdJiRwAAAIgAAAAGABQAZnMubnB5AQAQAIgAAAAAAAAARwAAAAAAAACb7BfqGxDJyFDGUK2eklqcXKRupaBu"
    "k2ahrqOgnpZfVFKUmBefX5SSChJ3S8wpTgWKF2ckFqQC+RqaOgq1ChQBLgYwUHAAAFBLAwQUAAAACAAAACEAsuVueFYAAACwAAAABQAU"
    "AGEubnB5AQAQALAAAAAAAAAAVgAAAAAAAACb7BfqGxDJyFDGUK2eklqcXKRupaBuk2ahrqOgnpZfVFKUmBefX5SSChIPKSpNBQoXZyQW"
    "pAK5GsY6CkaaOgq1CuQDLgZU4AChBKD0B3sIzQHlizgAAFBLAwQUAAAACAAAACEAOdUMCEsAAACIAAAACQAUAG5hbWVzLm5weQEAEACI"
    "AAAAAAAAAEsAAAAAAAAAm+wX6hsQychQxlCtnpJanFykbqWgbhNqqK6joJ6WX1RSlJgXn1+UkgoSd0vMKU4FihdnJBakAvkaRjqaOgq1"
    "ChQArgoGBoZKIAYAUEsDBBQAAAAIAAAAIQD7AyCjTwAAAJgAAAAJABQAdW5pdHMubnB5AQAQAJgAAAAAAAAATwAAAAAAAACb7BfqGxDJ"
    "yFDGUK2eklqcXKRupaBuE2qsrqOgnpZfVFKUmBefX5SSChJ3S8wpTgWKF2ckFqQC+RpGOpo6CrUKFACudAYEyAVifSAuBmIAUEsBAhQD"
    "FAAAAAgAAAAhAJNV0mJHAAAAiAAAAAYAAAAAAAAAAAAAAIABAAAAAGZzLm5weVBLAQIUAxQAAAAIAAAAIQCy5W54VgAAALAAAAAFAAAA"
    "AAAAAAAAAACAAX8AAABhLm5weVBLAQIUAxQAAAAIAAAAIQA51QwISwAAAIgAAAAJAAAAAAAAAAAAAACAAQwBAABuYW1lcy5ucHlQSwEC"
    "FAMUAAAACAAAACEA+wMgo08AAACYAAAACQAAAAAAAAAAAAAAgAGSAQAAdW5pdHMubnB5UEsFBgAAAAAEAAQA1QAAABwCAAAAAA==";

/// The bytes, `size` of them, that became a base64 text by way of zlib.
inline std::string Inflated(std::string_view base64, std::size_t size) {
    const std::string packed = FromBase64(base64);
    std::string bytes(size, '\0');
    uLongf inflated = bytes.size();
    uncompress(reinterpret_cast<Bytef*>(bytes.data()), &inflated,
               reinterpret_cast<const Bytef*>(packed.data()), packed.size());
    return bytes;
}

/// Written by h5py 3.7 in the layout of MATLAB 7.3: a matrix a in shuffled and deflated chunks of 2 by 2,
/// fs = 8, names = {'x'; 'yz'}, a structure s with complex H and df = 0.5.
inline std::string MatlabFile73() {
    constexpr const char* kPacked =
        "eNrtWs1vEkEUfzNL64ZautXGEm3qVmrCRYOxiSQmAqYYTEQb5eDJssKuJdnSho8EPfVY/"
        "4P+CT326JGDB48eOXL06H+Ay84bym4XFggG"
        "ks7v8nbevPlg5n3svkc2lXuTeqk+e/xUzaZyj4ySqav/"
        "G8BBX2dBYKb4ntl9tRy8G7QbsgwBUPBuGOkgzqPONh+fR0qQniI9p5xP7L4w"
        "8ldxfrdc7n063ZXuuMDXiQUYDYsru5bIpFN7XfqR6wPSX9QppyE1qowigUhFN6oRgLJ2qFf79DXqsy6BG0yW8DYbQSjpNxOQADzb"
        "kqWx"
        "XclVNQGyzUnCzhLsdFBgweJ2+6nEVliCuP1AKJ9Pti2oelA3DFPHObr7YPyibphaTQc0D4vLLESiUmPhckvU7rJwE0+"
        "OwLLFkCFr+//9"
        "gqlV7aO6bS2+2Hc+xaP6Z2vZHj68fbdLrF1zJ35832n/Z9j+scX3w6BKw88ZvQ5crA+X4/d19nC4HPcTzbBzf3+wLd+brT53/"
        "R2xrsXt"
        "79Z8xl2sMOqWc5kB/"
        "Fzx7qfgvBcBAQEBAQEBAYH5RuNTId8MvYjJp63n8ThAsE3XGC8e3g5vhEPW6710TPDtW00y+jeBw7EtI1WajLYT"
        "DfgK3yD2AL/"
        "it8VJCwgICAgIzA8ILA7NR5KenDcdOR9J2YS9fCJpYUbJmTmaPJ+YnNJ5SI76goKZxBPM7+0h36++0N7g4wWuI9z1Ba5P"
        "UVeeOMP12HDa1aTazOth7rz0uHZVrVXqhdro/oG6/MJl3eLE5t2hzBYqumaO9Ds8/"
        "EnpUPty1WOMNnawH2qjH1Idc3C7j26ydhz5rF5B"
        "e3v47ZP35/af3xQ2MQ0/P7t4xa9y3uKVdz3cXTfzi1fJiIhXIl5djVetLadcGQvl5SfTiVd+9XB/"
        "e1bsZ6UXcxQfO5adf0gZw44DfesW"
        "DrQKG5fEcbes5964Urm2X9QLR0Ve6lZkwJq66hknYUB84Rk0v/"
        "giMmzj6dWg95XJ9SqIVxGYS73yi5v+58F+9zpGwMHnEFK8IsnY56Cb"
        "pvOLa7r4B0LdAYk=";
    return Inflated(kPacked, 10408);
}

}  // namespace kvx::test
