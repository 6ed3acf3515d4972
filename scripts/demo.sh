#!/usr/bin/env bash
# Sets up, builds the tool and shows it at work; what it writes lands in ./demo-out.
#   scripts/demo.sh                       a random-vibration test: made, stored, analysed and compared with its profile
#   scripts/demo.sh RECORDING [OPTIONS]   a recording of yours (.lvm, .csv, .wav, .vdf2); the options go to kvx import,
#                                         for example --rate 2560 --unit g
set -euo pipefail
recording=${1:+$(realpath "$1")}
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target kvx
PATH=$PWD/out/release/tools/kvx:$PATH
mkdir -p demo-out
cd demo-out
run() { printf '\n$ %s\n' "$*"; "$@"; }

if [[ -n $recording ]]; then
    name=$(basename "${recording%.*}")
    data=$recording
    if [[ $recording != *.vdf2 ]]; then
        data=$name.vdf2
        run kvx import "$recording" -o "$data" "${@:2}"
    fi
    run kvx info "$data"
    run kvx psd "$data" -o "$name-psd.vdf2"
    run kvx export "$name-psd.vdf2" -o "$name-psd.csv"
    run kvx plot "$data" -o "$name.svg"
    run kvx plot "$name-psd.vdf2" -o "$name-psd.svg"
    run kvx spectrogram "$data" -o "$name-spectrogram.png"
    printf '\n%s\n' "demo-out/$name-psd.csv holds the spectral densities; pictures: $(printf 'demo-out/%s ' "$name".svg "$name"-*.svg "$name"-*.png)"
    exit 0
fi

# The random-vibration screening profile of NAVMAT P-9492, 6.06 g rms.
cat >profile.txt <<'PROFILE'
unit g2/Hz
20    0.01
80    0.04
350   0.04
2000  0.007
PROFILE
run cat profile.txt
run kvx synth profile.txt -o random.vdf2 --rms 6.06 --duration 120
run kvx info random.vdf2
run kvx psd random.vdf2 -o psd.vdf2 --block 4096 --from 20 --to 2000
run kvx export psd.vdf2 -o psd.csv
run kvx export random.vdf2 -o random.wav --full-scale 50
run kvx resample random.wav -o slow.vdf2 --down 4 --full-scale 50 --unit g
run kvx plot random.vdf2 -o random.svg --x 1,1.5
run kvx plot psd.vdf2 -o psd.svg --x 10,3000 --y 0.001,0.1 --profile profile.txt
run kvx spectrogram random.vdf2 -o spectrogram.png --density --block 4096 --x 10,3000

# Mean densities per band, of the measured lines and of the profile (straight on log-log axes) at the same frequencies.
LC_ALL=C awk -F'[, \t]+' -v OFS='\t' '
    function profile(f,   i) {
        for (i = 2; i < points && f > hz[i]; ++i);
        return level[i - 1] * (f / hz[i - 1]) ^ (log(level[i] / level[i - 1]) / log(hz[i] / hz[i - 1]))
    }
    FILENAME == "profile.txt" { if ($1 ~ /^[0-9]/) { hz[++points] = $1; level[points] = $2 }; next }
    FNR == 1 { bands = split("20 40 80 160 350 700 1400 2000", edge, " ") - 1; next }
    FNR == 3 { spacing = $1 }
    $1 >= edge[1] && $1 <= edge[bands + 1] {
        power += $2
        if ($1 == edge[1] || $1 == edge[bands + 1]) next  # half of such a line lies outside the profile
        for (b = 1; b < bands && $1 >= edge[b + 1]; ++b);
        lines[b]++; wanted[b] += profile($1); got[b] += $2
    }
    END {
        printf "\n  band [Hz]      profile [g2/Hz]   measured [g2/Hz]   difference [dB]\n"
        for (b = 1; b <= bands; ++b) {
            difference = 10 * log(got[b] / wanted[b]) / log(10)
            if (difference < -0.5 || difference > 0.5) failed = 1
            printf "  %4d - %-4d     %15.5f   %16.5f   %15.2f\n", edge[b], edge[b + 1], wanted[b] / lines[b],
                got[b] / lines[b], difference
        }
        rms = sqrt(power * spacing)
        if (rms < 6.06 * 0.98 || rms > 6.06 * 1.02) failed = 1
        printf "\n  rms from 20 Hz to 2000 Hz: %.3f g, of the profile: 6.06 g\n", rms
        if (failed) print "\nThe measured density is not that of the profile."
        exit failed
    }' profile.txt psd.csv
printf '\n%s\n%s\n' "Written to demo-out: $(printf '%s ' *)" "Pictures: $(printf 'demo-out/%s ' *.svg *.png)"
