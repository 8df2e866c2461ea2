-- Fits a page of the documentation to a manual page: its title and its links go, and its tables, whose columns are
-- too many for a terminal, become lists: a row's first cell is the term, the others are named by their columns.

local stringify = pandoc.utils.stringify
local inlines_of = pandoc.utils.blocks_to_inlines

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

local function description(row, headers)
  local text = pandoc.List()
  for column = 2, #row do
    if stringify(row[column]) ~= "" then
      text:extend({pandoc.Str(stringify(headers[column]) .. ":"), pandoc.Space()})
      text:extend(inlines_of(row[column]))
      text:extend({pandoc.Str("."), pandoc.Space()})
    end
  end
  return {pandoc.Plain(text)}
end

function Table(element)
  local table = pandoc.utils.to_simple_table(element)
  return pandoc.DefinitionList(pandoc.List(table.rows):map(function(row)
    return {inlines_of(row[1]), {description(row, table.headers)}}
  end))
end
