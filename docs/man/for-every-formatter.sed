# What pandoc writes for groff alone: a paragraph right after a heading, and a font for examples.
/^\.SH/ {
  n
  /^\.PP$/ d
}
s/\\f\[CR\{0,1\}\]//g
