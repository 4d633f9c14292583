defmodule VkSony.Bridge do
  @moduledoc """
  Runs one vk-sony bridge process as an Erlang port, the way the parent
  application does, and forwards what it writes to an owner process.

  The owner receives `{:vk_sony, bridge, event}` messages, in the order the
  bridge wrote the lines, where `event` is one of `VkSony.Line.event()` or,
  last of all, `{:exit_status, status}` when the process ends (a camera run
  always ends with status 1). The bridge server stops after that message.

      {:ok, bridge} = VkSony.Bridge.start_link(executable: "/path/to/vk-sony",
                                               args: ["USB|ILME-FX6|D10042"])
      receive do {:vk_sony, ^bridge, :ready} -> :ok end
      :ok = VkSony.Bridge.set(bridge, "ISO_SENSITIVITY", "1600")
      # then {:vk_sony, bridge, :ack} and the new status line

  The bridge carries out one camera command at a time and has no timeout of
  its own for a camera that never confirms: put a deadline on each ACK/NACK
  and call `close/1` (or kill the OS process, `os_pid/1`) when it passes.
  """
  use GenServer

  alias VkSony.Line

  # Longer lines arrive in pieces and are joined again.
  @line_length 4096

  @doc """
  Starts vk-sony and links the server to the caller.

  Options:
    * `:executable` (required): path of the vk-sony executable
    * `:args`: its arguments, e.g. `["-i", "192.168.1.10", "IP|..."]`
    * `:env`: `[{name, value}]`; a value of `false` removes the variable
    * `:owner`: the process that receives the events (default: the caller)
  """
  def start_link(options) do
    options = Keyword.put_new(options, :owner, self())
    GenServer.start_link(__MODULE__, options)
  end

  @doc """
  Sends one command line (without its newline). A line holding a newline
  would be read as two commands and is refused with `{:error, :newline}`.
  """
  def command(bridge, line) when is_binary(line) do
    if String.contains?(line, ["\n", "\r"]),
      do: {:error, :newline},
      else: GenServer.call(bridge, {:command, line})
  end

  @doc "Sends `set KEY VALUE`; the reply is an `:ack` or `:nack` event."
  def set(bridge, key, value), do: word_command(bridge, ["set", key, to_string(value)])

  @doc "Sends `get KEY`; the reply is the property's status line."
  def get(bridge, key), do: word_command(bridge, ["get", key])

  @doc "The latest status line of every property seen so far, by key."
  def properties(bridge), do: GenServer.call(bridge, :properties)

  @doc "The operating-system process id of the bridge."
  def os_pid(bridge), do: GenServer.call(bridge, :os_pid)

  @doc """
  Ends the run by closing the port: the bridge sees its standard input close,
  ends the run and exits. No more events are sent.
  """
  def close(bridge), do: GenServer.stop(bridge, :normal)

  # A word with a blank in it would shift the words after it.
  defp word_command(bridge, words) do
    if Enum.any?(words, &(&1 == "" or String.contains?(&1, [" ", "\t"]))),
      do: {:error, :blank_in_word},
      else: command(bridge, Enum.join(words, " "))
  end

  @impl true
  def init(options) do
    executable = Keyword.fetch!(options, :executable)

    env =
      for {name, value} <- Keyword.get(options, :env, []) do
        {String.to_charlist(name), if(value == false, do: false, else: String.to_charlist(value))}
      end

    port =
      Port.open({:spawn_executable, executable}, [
        :binary,
        {:line, @line_length},
        :exit_status,
        :use_stdio,
        {:args, Keyword.get(options, :args, [])},
        {:env, env}
      ])

    {:os_pid, os_pid} = Port.info(port, :os_pid)

    {:ok,
     %{
       port: port,
       os_pid: os_pid,
       owner: Keyword.fetch!(options, :owner),
       partial: [],
       properties: %{}
     }}
  end

  @impl true
  def handle_call({:command, line}, _from, state) do
    Port.command(state.port, [line, "\n"])
    {:reply, :ok, state}
  end

  def handle_call(:properties, _from, state), do: {:reply, state.properties, state}
  def handle_call(:os_pid, _from, state), do: {:reply, state.os_pid, state}

  @impl true
  def handle_info({port, {:data, {:noeol, piece}}}, %{port: port} = state) do
    {:noreply, %{state | partial: [state.partial, piece]}}
  end

  def handle_info({port, {:data, {:eol, piece}}}, %{port: port} = state) do
    event = Line.parse(IO.iodata_to_binary([state.partial, piece]))
    send(state.owner, {:vk_sony, self(), event})
    {:noreply, %{state | partial: [], properties: remember(state.properties, event)}}
  end

  def handle_info({port, {:exit_status, status}}, %{port: port} = state) do
    # A last line without its newline still counts as a line.
    if state.partial != [] do
      send(state.owner, {:vk_sony, self(), Line.parse(IO.iodata_to_binary(state.partial))})
    end

    send(state.owner, {:vk_sony, self(), {:exit_status, status}})
    {:stop, :normal, %{state | partial: []}}
  end

  defp remember(properties, {:status, %Line.Status{key: "TC"}}), do: properties
  defp remember(properties, {:status, status}), do: Map.put(properties, status.key, status)
  defp remember(properties, _event), do: properties
end
