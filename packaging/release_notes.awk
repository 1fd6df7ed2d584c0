# Reads CHANGELOG.md and writes its releases in one of three forms, chosen with -v form=...:
#   newest     "VERSION DATE" of the newest release
#   appstream  the <release> elements of the AppStream metadata
#   debian     a Debian changelog (needs -v maintainer="Name <address>")
# A release is a heading "## VERSION - YYYY-MM-DD" and the items under it: each begins with
# "- " and goes on over lines indented by two spaces. Anything else is prose for people.

function flush_item() {
  if (item != "") items[releases, ++count[releases]] = item
  item = ""
}

# Items are plain text: `code` loses its backticks.
function plain(text) {
  gsub(/`/, "", text)
  return text
}

# The words of text in lines of at most width columns, the first begun with first and the
# others with rest.
function wrap(text, first, rest, width,   words, n, i, line, out, filled) {
  n = split(text, words, /[ \n]+/)
  line = first
  filled = 0
  for (i = 1; i <= n; i++) {
    if (words[i] == "") continue
    if (filled && length(line) + 1 + length(words[i]) > width) {
      out = out line "\n"
      line = rest
      filled = 0
    }
    line = line (filled ? " " : "") words[i]
    filled = 1
  }
  return out line
}

function xml(text) {
  text = plain(text)
  gsub(/&/, "\\&amp;", text)
  gsub(/</, "\\&lt;", text)
  gsub(/>/, "\\&gt;", text)
  return text
}

# 0 is Sunday.
function weekday(y, m, d,   offsets) {
  split("0 3 2 5 0 3 5 1 4 6 2 4", offsets, " ")
  if (m < 3) y -= 1
  return (y + int(y / 4) - int(y / 100) + int(y / 400) + offsets[m] + d) % 7
}

# "Wed, 25 Nov 2026 12:00:00 +0000": the form a Debian changelog dates its entries in.
function rfc2822(date,   part, days, months) {
  split(date, part, "-")
  split("Sun Mon Tue Wed Thu Fri Sat", days, " ")
  split("Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec", months, " ")
  return sprintf("%s, %02d %s %04d 12:00:00 +0000", days[weekday(part[1] + 0, part[2] + 0,
    part[3] + 0) + 1], part[3], months[part[2] + 0], part[1])
}

/^## / {
  flush_item()
  if (match($0, /^## [0-9][0-9A-Za-z.~+]* - [0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9]$/)) {
    releases++
    version[releases] = $2
    date[releases] = $4
    next
  }
  print "release_notes: a release heading is \"## VERSION - YYYY-MM-DD\": " $0 > "/dev/stderr"
  failed = 1
  exit 1
}
/^# / { next }
releases && /^- / { flush_item(); item = substr($0, 3); next }
releases && item != "" && /^  [^ ]/ { item = item "\n" substr($0, 3); next }
{ flush_item() }

END {
  if (failed) exit 1
  flush_item()
  if (!releases) {
    print "release_notes: no release in the changelog" > "/dev/stderr"
    exit 1
  }
  for (r = 1; r <= releases; r++) {
    if (!count[r]) {
      print "release_notes: release " version[r] " lists nothing" > "/dev/stderr"
      exit 1
    }
  }
  if (form == "newest") {
    print version[1], date[1]
  } else if (form == "appstream") {
    for (r = 1; r <= releases; r++) {
      printf "    <release version=\"%s\" date=\"%s\">\n", version[r], date[r]
      print "      <description>"
      print "        <ul>"
      for (i = 1; i <= count[r]; i++) {
        text = items[r, i]
        gsub(/\n/, " ", text)
        print "          <li>" xml(text) "</li>"
      }
      print "        </ul>"
      print "      </description>"
      print "    </release>"
    }
  } else if (form == "debian") {
    for (r = 1; r <= releases; r++) {
      printf "dustwhale (%s) unstable; urgency=medium\n\n", version[r]
      for (i = 1; i <= count[r]; i++) {
        print wrap(plain(items[r, i]), "  * ", "    ", 79)
      }
      printf "\n -- %s  %s\n", maintainer, rfc2822(date[r])
      if (r < releases) print ""
    }
  } else {
    print "release_notes: form is newest, appstream or debian" > "/dev/stderr"
    exit 1
  }
}
