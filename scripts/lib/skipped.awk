# What a JUnit file of ctest's says was skipped, a line each: "PROGRAM: REASON" for a whole
# test program, "PROGRAM CASE: REASON" for a case of GoogleTest's in one that ran.
function unescaped(text) {
  gsub(/&lt;/, "<", text); gsub(/&gt;/, ">", text); gsub(/&quot;/, "\"", text)
  gsub(/&apos;/, "'", text); gsub(/&amp;/, "\\&", text)
  return text
}
/<testcase / {
  program = $0
  sub(/.*<testcase name="/, "", program)
  sub(/".*/, "", program)
  pending = 0
}
/<skipped message="/ { pending = 1 }
pending && /<system-out>/ {
  reason = $0
  sub(/.*<system-out>(skipped: )?/, "", reason)
  sub(/<\/system-out>.*/, "", reason)
  print program ": " unescaped(reason)
  pending = 0
}
after_skipped { reason = unescaped($0); after_skipped = 0 }
/: Skipped$/ { after_skipped = 1 }
/^\[  SKIPPED \] .* \([0-9]+ ms\)$/ { print program " " $4 ": " reason }
