defmodule VkSony.Bridge do
  @moduledoc """
  Runs one vk-sony bridge process (one camera) as an Erlang port.

  ## Commands

  `set/4`, `get/3` and `command/3` are synchronous: each sends one command
  line and waits for that command's answer, with a deadline per call
  (default 5000 ms). The bridge carries out one command at a time and
  answers in command order, so the server matches every answer to the oldest
  command still waiting for one:

    * `set`, `action`, `RESET`, `get MENU`, and any line the bridge refuses,
      are answered `ACK` (`:ok`) or `NACK` (`{:error, :nack}`);
    * `get KEY` is answered by the status line of KEY
      (`{:ok, %VkSony.Line.Status{}}`), or `NACK` for a name the bridge does
      not know;
    * `get TC` is answered by a raw `status TC ...` line, which the bridge may
      hold back until it writes its next line, and does not write at all when
      the live view cannot be read. `get(bridge, "TC")` returns that line when
      it arrives and `{:error, :timeout}` otherwise; another command sent after
      it (from another process) brings it out.

  A call whose deadline passes returns `{:error, :timeout}`; its answer, when
  it comes later, is dropped, so later calls still get their own answers.
  Calls made before the bridge's `READY` are held until then (their deadline
  runs meanwhile). When the bridge ends, calls whose answer has not come and
  every later call return `{:error, :closed}`.

  ## Events

  The owner (the caller of `start_link/1`, or `:owner`) receives
  `{:vk_sony, bridge, event}` for every line that does not answer a call, in
  the order the bridge wrote them, where `event` is a `VkSony.Line.event()`:
  the lifecycle lines, the camera's own status lines and the status lines
  that follow a write, raw lines. Last comes
  `{:vk_sony, bridge, {:exit, %VkSony.Bridge.Exit{}}}`, which says why the
  bridge ended and holds what it wrote on standard error; then the server
  stops (reason `:normal`).
  """
  use GenServer

  alias VkSony.Line

  defmodule Exit do
    @moduledoc """
    Why a bridge ended.

      * `status`: the process's exit status (a camera run always ends with 1;
        127 when the executable could not be started, 128 + N when it was
        killed by signal N)
      * `cause`: `:start_failed` (it never wrote CONNECTED: see `stderr`),
        `:disconnected` (the camera went away or failed: DISCONNECTED), or
        `:ended` (standard input closed, a signal)
      * `stderr`: what the bridge wrote on standard error (at most the last
        64 KiB)
    """
    defstruct [:status, :cause, :stderr]
  end

  # Longer lines arrive in pieces and are joined again.
  @line_length 4096
  @default_timeout 5_000
  @stderr_limit 65_536

  @doc """
  Starts vk-sony and links the server to the caller.

  Options:
    * `:executable` (required): path of the vk-sony executable
    * `:args`: its arguments, e.g. `["USB|ILME-FX6|D10042"]`
    * `:env`: `[{name, value}]` added to the bridge's environment; a value of
      `false` removes the variable. Against the simulator this chooses the
      scenario: `env: [{"VK_SONY_SIM_SCENARIO", "/path/cam.scenario"}]`
    * `:owner`: the process that receives the events (default: the caller)
    * `:name`: a name to register the server under (e.g. a `:via` tuple)

  Standard error is captured through `/bin/sh`, which redirects it to a
  temporary file that is read when the bridge ends.
  """
  def start_link(options) do
    options = Keyword.put_new(options, :owner, self())
    {name, options} = Keyword.pop(options, :name)
    GenServer.start_link(__MODULE__, options, if(name, do: [name: name], else: []))
  end

  @doc "Sends `set KEY VALUE`: `:ok` on ACK, `{:error, :nack | :timeout | :closed}`."
  def set(bridge, key, value, timeout \\ @default_timeout),
    do: words(bridge, ["set", key, to_string(value)], timeout)

  @doc """
  Sends `get KEY`: `{:ok, %VkSony.Line.Status{}}`, or `:ok` for `get MENU`
  (whose entries, if any, arrive as events), or an error.
  """
  def get(bridge, key, timeout \\ @default_timeout), do: words(bridge, ["get", key], timeout)

  @doc """
  Sends one command line (without its newline) and waits for its answer as
  described in the module documentation. A line holding a newline would be
  read as two commands and is refused with `{:error, :newline}`.
  """
  def command(bridge, line, timeout \\ @default_timeout) when is_binary(line) do
    if String.contains?(line, ["\n", "\r"]),
      do: {:error, :newline},
      else: call(bridge, {:command, line, timeout}, timeout)
  end

  @doc "Waits until the bridge has written READY: `:ok` or `{:error, :timeout | :closed}`."
  def await_ready(bridge, timeout \\ @default_timeout),
    do: call(bridge, {:await_ready, timeout}, timeout)

  @doc "The latest status line of every property seen so far, by key."
  def properties(bridge), do: call(bridge, :properties, @default_timeout)

  @doc "The operating-system process id of the bridge (nil if it ended at once)."
  def os_pid(bridge), do: call(bridge, :os_pid, @default_timeout)

  @doc """
  Ends the run by closing the port: the bridge sees its standard input close,
  ends the run and exits. No more events are sent; waiting calls return
  `{:error, :closed}`.
  """
  def close(bridge) do
    GenServer.stop(bridge, :normal)
  catch
    :exit, _ -> :ok
  end

  # A word with a blank in it would shift the words after it.
  defp words(bridge, words, timeout) do
    if Enum.any?(words, &(&1 == "" or String.contains?(&1, [" ", "\t"]))),
      do: {:error, :blank_in_word},
      else: command(bridge, Enum.join(words, " "), timeout)
  end

  # The server answers every call by its own deadline; the margin only
  # covers a server that is gone or stuck.
  defp call(bridge, request, timeout) do
    GenServer.call(bridge, request, timeout + 1_000)
  catch
    :exit, {reason, _} when reason in [:noproc, :normal, :shutdown] -> {:error, :closed}
    :exit, {{:shutdown, _}, _} -> {:error, :closed}
    :exit, {:timeout, _} -> {:error, :timeout}
  end

  # What answers a command line.
  defp answer_kind("get TC"), do: :timecode
  defp answer_kind("get MENU"), do: :ack
  defp answer_kind("get " <> key), do: {:status, key}
  defp answer_kind(_line), do: :ack

  @impl true
  def init(options) do
    executable = Keyword.fetch!(options, :executable)

    stderr_path =
      Path.join(System.tmp_dir!(), "vk-sony-stderr-#{System.unique_integer([:positive])}")

    env =
      for {name, value} <- Keyword.get(options, :env, []) do
        {String.to_charlist(name), if(value == false, do: false, else: String.to_charlist(value))}
      end

    port =
      Port.open({:spawn_executable, "/bin/sh"}, [
        :binary,
        {:line, @line_length},
        :exit_status,
        :use_stdio,
        {:args,
         ["-c", ~S(err=$1; shift; exec "$@" 2>"$err"), "vk-sony", stderr_path, executable] ++
           Keyword.get(options, :args, [])},
        {:env, env}
      ])

    # A bridge that ended at once has closed its port already.
    os_pid =
      case Port.info(port, :os_pid) do
        {:os_pid, os_pid} -> os_pid
        nil -> nil
      end

    {:ok,
     %{
       port: port,
       os_pid: os_pid,
       owner: Keyword.fetch!(options, :owner),
       stderr_path: stderr_path,
       partial: [],
       properties: %{},
       connected?: false,
       disconnected?: false,
       ready?: false,
       # calls made before READY: {ref, line}, oldest first
       held: :queue.new(),
       # commands sent and not yet answered: {ref, kind}, oldest first
       sent: :queue.new(),
       # get TC calls waiting for their line: refs, oldest first
       timecode: :queue.new(),
       # ref => {from, timer}; a ref missing here was answered or timed out
       waiting: %{},
       ready_waiters: []
     }}
  end

  @impl true
  def handle_call({:command, line, timeout}, from, state) do
    ref = make_ref()
    timer = Process.send_after(self(), {:deadline, ref}, timeout)
    state = %{state | waiting: Map.put(state.waiting, ref, {from, timer})}

    state =
      if state.ready?,
        do: send_command(state, ref, line),
        else: %{state | held: :queue.in({ref, line}, state.held)}

    {:noreply, state}
  end

  def handle_call({:await_ready, _timeout}, _from, %{ready?: true} = state),
    do: {:reply, :ok, state}

  def handle_call({:await_ready, timeout}, from, state) do
    ref = make_ref()
    timer = Process.send_after(self(), {:deadline, ref}, timeout)

    {:noreply,
     %{
       state
       | waiting: Map.put(state.waiting, ref, {from, timer}),
         ready_waiters: [ref | state.ready_waiters]
     }}
  end

  def handle_call(:properties, _from, state), do: {:reply, state.properties, state}
  def handle_call(:os_pid, _from, state), do: {:reply, state.os_pid, state}

  @impl true
  def handle_info({port, {:data, {:noeol, piece}}}, %{port: port} = state) do
    {:noreply, %{state | partial: [state.partial, piece]}}
  end

  def handle_info({port, {:data, {:eol, piece}}}, %{port: port} = state) do
    event = Line.parse(IO.iodata_to_binary([state.partial, piece]))
    {:noreply, line_event(%{state | partial: []}, event)}
  end

  def handle_info({port, {:exit_status, status}}, %{port: port} = state) do
    # A last line without its newline still counts as a line.
    state =
      if state.partial != [],
        do: line_event(state, Line.parse(IO.iodata_to_binary(state.partial))),
        else: state

    cause =
      cond do
        state.disconnected? -> :disconnected
        not state.connected? -> :start_failed
        true -> :ended
      end

    exit = %Exit{status: status, cause: cause, stderr: read_stderr(state.stderr_path)}
    send(state.owner, {:vk_sony, self(), {:exit, exit}})
    {:stop, :normal, %{state | partial: []}}
  end

  def handle_info({:deadline, ref}, state) do
    # A sent command stays in `sent`: its answer may still come and must not
    # be taken for the next command's.
    {:noreply,
     %{
       reply(state, ref, {:error, :timeout})
       | held: :queue.filter(fn {held, _} -> held != ref end, state.held),
         timecode: :queue.filter(&(&1 != ref), state.timecode),
         ready_waiters: List.delete(state.ready_waiters, ref)
     }}
  end

  @impl true
  def terminate(_reason, state) do
    for {_ref, {from, timer}} <- state.waiting do
      Process.cancel_timer(timer)
      GenServer.reply(from, {:error, :closed})
    end

    File.rm(state.stderr_path)
    :ok
  end

  defp send_command(state, ref, line) do
    Port.command(state.port, [line, "\n"])

    case answer_kind(line) do
      :timecode -> %{state | timecode: :queue.in(ref, state.timecode)}
      kind -> %{state | sent: :queue.in({ref, kind}, state.sent)}
    end
  end

  defp reply(state, ref, answer) do
    case Map.pop(state.waiting, ref) do
      {nil, _} ->
        state

      {{from, timer}, waiting} ->
        Process.cancel_timer(timer)
        GenServer.reply(from, answer)
        %{state | waiting: waiting}
    end
  end

  defp line_event(state, event) do
    state = %{state | properties: remember(state.properties, event)}

    case answer(state, event) do
      {:answered, state} -> state
      :event -> forward(state, event)
    end
  end

  # The time code line answers the oldest get TC still waiting.
  defp answer(state, {:status, %Line.Status{key: "TC"} = status}) do
    case :queue.out(state.timecode) do
      {{:value, ref}, rest} -> {:answered, reply(%{state | timecode: rest}, ref, {:ok, status})}
      {:empty, _} -> :event
    end
  end

  # An ACK, NACK or status line that answers the oldest command sent.
  defp answer(state, event) when event in [:ack, :nack] or elem(event, 0) == :status do
    with {{:value, {ref, kind}}, rest} <- :queue.out(state.sent),
         {:ok, result} <- match_answer(kind, event) do
      {:answered, reply(%{state | sent: rest}, ref, result)}
    else
      _ -> :event
    end
  end

  defp answer(_state, _event), do: :event

  defp match_answer(:ack, :ack), do: {:ok, :ok}
  defp match_answer(_kind, :nack), do: {:ok, {:error, :nack}}
  defp match_answer({:status, key}, {:status, %Line.Status{key: key} = s}), do: {:ok, {:ok, s}}
  defp match_answer(_kind, _event), do: :no

  defp forward(state, event) do
    send(state.owner, {:vk_sony, self(), event})

    case event do
      :connected -> %{state | connected?: true}
      :disconnected -> %{state | disconnected?: true}
      :ready -> ready(state)
      _ -> state
    end
  end

  # READY: answer await_ready/2 and send the calls held until now.
  defp ready(state) do
    state = Enum.reduce(state.ready_waiters, state, &reply(&2, &1, :ok))
    held = :queue.to_list(state.held)
    state = %{state | ready?: true, held: :queue.new(), ready_waiters: []}
    Enum.reduce(held, state, fn {ref, line}, state -> send_command(state, ref, line) end)
  end

  defp read_stderr(path) do
    case File.read(path) do
      {:ok, text} when byte_size(text) > @stderr_limit ->
        binary_part(text, byte_size(text) - @stderr_limit, @stderr_limit)

      {:ok, text} ->
        text

      {:error, _} ->
        ""
    end
  end

  defp remember(properties, {:status, %Line.Status{key: "TC"}}), do: properties
  defp remember(properties, {:status, status}), do: Map.put(properties, status.key, status)
  defp remember(properties, _event), do: properties
end
