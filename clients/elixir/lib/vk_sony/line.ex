defmodule VkSony.Line do
  @moduledoc """
  Parses the lines that a vk-sony bridge writes on its standard output.

  `parse/1` turns one line (without its newline) into an event:

    * `:connected`, `:ready`, `:ack`, `:nack`, `:disconnected`, `:closed`
    * `:input_closed` for "END - elixir_handler_stdin" (the bridge reads no
      more commands)
    * `:download_done` for "status DOWNLOAD done"
    * `{:status, %VkSony.Line.Status{}}` for a property status line, the time
      code answer "status TC N [N] RO" included
    * `{:other, line}` for anything else (menu entries, failure lines)
  """

  defmodule Status do
    @moduledoc """
    One property status line: `status KEY VALUE [C1 ... Cn] RW`.

    `candidates` are the offered values, in the same text form as `value`.
    `discrete?` is true for a square-bracket list (values to offer as a menu)
    and false for braces (a range, or values not meant as a menu).
    `writable?` is true for RW and false for RO.
    """
    @enforce_keys [:key, :value, :candidates, :discrete?, :writable?]
    defstruct [:key, :value, :candidates, :discrete?, :writable?]

    @type t :: %__MODULE__{
            key: String.t(),
            value: String.t(),
            candidates: [String.t()],
            discrete?: boolean(),
            writable?: boolean()
          }
  end

  @type event ::
          :connected
          | :ready
          | :ack
          | :nack
          | :disconnected
          | :closed
          | :input_closed
          | :download_done
          | {:status, Status.t()}
          | {:other, String.t()}

  def parse("CONNECTED"), do: :connected
  def parse("READY"), do: :ready
  def parse("ACK"), do: :ack
  def parse("NACK"), do: :nack
  def parse("DISCONNECTED"), do: :disconnected
  def parse("CLOSED"), do: :closed
  def parse("END - elixir_handler_stdin"), do: :input_closed
  def parse("status DOWNLOAD done"), do: :download_done

  def parse("status " <> rest = line) do
    case parse_status(rest) do
      {:ok, status} -> {:status, status}
      :error -> {:other, line}
    end
  end

  def parse(line), do: {:other, line}

  # "KEY VALUE [C1 C2] RW": the value may be empty or hold blanks, so the
  # candidate list is found from the end of the line.
  defp parse_status(rest) do
    with [key, tail] <- String.split(rest, " ", parts: 2),
         true <- key != "",
         {:ok, body, writable?} <- split_access(tail),
         {:ok, value, candidates, discrete?} <- split_candidates(body) do
      {:ok,
       %Status{
         key: key,
         value: value,
         candidates: String.split(candidates, " ", trim: true),
         discrete?: discrete?,
         writable?: writable?
       }}
    else
      _ -> :error
    end
  end

  defp split_access(tail) do
    cond do
      String.ends_with?(tail, " RW") -> {:ok, String.slice(tail, 0..-4//1), true}
      String.ends_with?(tail, " RO") -> {:ok, String.slice(tail, 0..-4//1), false}
      true -> :error
    end
  end

  defp split_candidates(body) do
    {open, discrete?} =
      cond do
        String.ends_with?(body, "]") -> {" [", true}
        String.ends_with?(body, "}") -> {" {", false}
        true -> {nil, false}
      end

    case open && :binary.matches(" " <> body, open) do
      matches when is_list(matches) and matches != [] ->
        # Offsets are into " " <> body, so a match at 0 means an empty value.
        {at, _} = List.last(matches)
        value = if at == 0, do: "", else: binary_part(body, 0, at - 1)
        list = binary_part(body, at + 1, byte_size(body) - at - 2)
        {:ok, value, list, discrete?}

      _ ->
        :error
    end
  end
end
