-- Fits a page in Markdown to a manual page: its title and its links go, and its sections are those of the manual.

function Header(header)
  if header.level == 1 then
    return {}
  end
  header.level = header.level - 1
  return header
end

function Link(link)
  return link.content
end

-- Not every formatter of manual pages has a font for it.
function Code(code)
  return pandoc.Strong(code.text)
end
