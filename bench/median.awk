# Medians of the repetitions of benchmarks, from Google Benchmark's CSV output (one file or several):
#   NAME  MEDIAN  MIN  MAX    of the processor time in microseconds, one benchmark per line, in order of appearance.
function sort(list, count,    i, j, value) {
  for (i = 2; i <= count; i++) {
    value = list[i]
    for (j = i - 1; j >= 1 && list[j] > value; j--) list[j + 1] = list[j]
    list[j + 1] = value
  }
}
BEGIN { FS = "," }
/^"/ {
  name = $1
  gsub(/"/, "", name)
  if (name ~ /_(mean|median|stddev|cv)$/) next
  sub(/\/process_time\/real_time/, "", name)
  if ($4 == "") next  # an error instead of a time
  if (!(name in counts)) names[++total] = name
  times[name, ++counts[name]] = $4 + 0
}
END {
  for (i = 1; i <= total; i++) {
    count = counts[names[i]]
    for (j = 1; j <= count; j++) list[j] = times[names[i], j]
    sort(list, count)
    middle = count % 2 ? list[(count + 1) / 2] : (list[count / 2] + list[count / 2 + 1]) / 2
    print names[i], middle, list[1], list[count]
  }
}
